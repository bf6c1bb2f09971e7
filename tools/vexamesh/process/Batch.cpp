#include "process/Batch.h"

#include "base/Errors.h"
#include "process/Interruption.h"
#include "process/MemoryClaims.h"
#include "process/Subprocess.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <map>
#include <memory>
#include <numeric>
#include <poll.h>
#include <utility>

namespace vexa::tool {

namespace fs = std::filesystem;

namespace {

void sendResult(PipeWriter& pipe, const BatchResult& result) {
    pipe.writeValue(result.state);
    const std::vector<std::uint8_t> summary = Json::to_cbor(result.summary);
    pipe.writeBlock(summary.data(), summary.size());
    pipe.writeText(result.error);
    pipe.writeValue(result.warnings.size());
    for (const std::string& warning : result.warnings) {
        pipe.writeText(warning);
    }
}

BatchResult receiveResult(ChildProcess& child) {
    BatchResult result;
    result.state = child.readValue<BatchResult::State>();
    result.summary = Json::from_cbor(child.readBlock());
    result.error = child.readText();
    result.warnings.resize(child.readValue<std::size_t>());
    for (std::string& warning : result.warnings) {
        warning = child.readText();
    }
    child.wait();
    return result;
}

/// How long an interrupted process may take to remove its temporary file.
constexpr std::chrono::milliseconds gracePeriod(200);

/// The processes of a batch.
class Pool {
public:
    Pool(const std::vector<BatchItem>& items, std::size_t jobs,
         const std::function<BatchResult(const BatchItem&)>& work)
        : items_(items), work_(work), results_(items.size()), claims_(std::min(jobs, items.size())) {
        for (std::size_t place = std::min(jobs, items.size()); place > 0; --place) {
            freePlaces_.push_back(place - 1);
        }
        for (BatchResult& result : results_) {
            result.state = BatchResult::State::NotStarted;
        }
    }

    /// \return false: there is room for it once another one has ended
    bool start(std::size_t item) {
        const std::size_t place = freePlaces_.back();
        const auto run = [this, item, place](PipeWriter& pipe) {
            claims_.enter(place);
            sendResult(pipe, work_(items_[item]));
        };
        try {
            auto child = std::make_unique<ChildProcess>(run, ProcessLimits(), SIGTERM);
            running_.emplace(item, Job{place, true, std::move(child)});
            freePlaces_.pop_back();
            for (auto& [other, job] : running_) {
                job.isAlone = running_.size() == 1;
            }
        } catch (const std::runtime_error& error) {
            if (!running_.empty()) {
                return false;
            }
            fail(item, error.what());
        }
        return true;
    }

    /// Waits until a process has sent something and receives it; returns early when interrupted.
    void finishSome(DeferredInterruption& interruption) {
        std::vector<pollfd> inputs;
        std::vector<std::size_t> items;
        for (const auto& [item, job] : running_) {
            inputs.push_back({job.process->descriptor(), POLLIN, 0});
            items.push_back(item);
        }
        if (!interruption.wait(inputs)) {
            return;
        }
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            if (inputs[i].revents != 0) {
                // A signal to the whole group may have ended the process already.
                finish(items[i], interruption.signal() != 0);
            }
        }
    }

    /// Ends all processes. One that has just finished keeps its result.
    void interrupt() {
        for (const auto& [item, job] : running_) {
            job.process->terminate(gracePeriod);
        }
        while (!running_.empty()) {
            finish(running_.begin()->first, true);
        }
    }

    [[nodiscard]] std::size_t running() const { return running_.size(); }

    /// Items that were refused memory while others ran, and are to be started alone.
    [[nodiscard]] std::size_t postponed() const { return postponed_.size(); }
    std::vector<std::size_t> takePostponed() { return std::exchange(postponed_, {}); }

    std::vector<BatchResult> takeResults() { return std::move(results_); }

private:
    struct Job {
        std::size_t place; ///< in the table of claims
        bool isAlone;      ///< no other ran at the same time
        std::unique_ptr<ChildProcess> process;
    };

    void finish(std::size_t item, bool isInterrupted) {
        const Job& job = running_.at(item);
        try {
            results_[item] = receiveResult(*job.process);
        } catch (const ProcessError& error) {
            fail(item, std::string("its process ") + error.what());
            if (isInterrupted && error.cause() != ProcessError::Cause::Crash) {
                results_[item].state = BatchResult::State::Interrupted;
            }
        }
        const bool isRefused = claims_.leave(job.place);
        if (isRefused && !job.isAlone && results_[item].state == BatchResult::State::Failed) {
            results_[item] = {};
            results_[item].state = BatchResult::State::NotStarted;
            postponed_.push_back(item);
        }
        freePlaces_.push_back(job.place);
        running_.erase(item);
    }

    void fail(std::size_t item, const std::string& error) {
        results_[item].state = BatchResult::State::Failed;
        results_[item].error = error;
    }

    const std::vector<BatchItem>& items_;
    const std::function<BatchResult(const BatchItem&)>& work_;
    std::map<std::size_t, Job> running_;
    std::vector<BatchResult> results_;
    ClaimTable claims_;
    std::vector<std::size_t> freePlaces_;
    std::vector<std::size_t> postponed_;
};

/// The order in which to begin: with several processes at a time, large files come first, so that the last one to end is
/// not a large one that began late.
std::vector<std::size_t> startOrder(const std::vector<BatchItem>& items, std::size_t jobs) {
    std::vector<std::size_t> order(items.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (jobs > 1) {
        std::vector<std::uintmax_t> sizes;
        for (const BatchItem& item : items) {
            std::error_code error;
            const std::uintmax_t size = fs::file_size(item.input, error);
            sizes.push_back(error ? 0 : size);
        }
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return sizes[a] > sizes[b]; });
    }
    return order;
}

/// The file that a path leads to, as far as it leads anywhere.
fs::path resolved(const fs::path& path) {
    std::error_code error;
    fs::path file = fs::weakly_canonical(path, error);
    if (error) {
        file = fs::absolute(path, error).lexically_normal();
    }
    return file;
}

} // namespace

std::vector<BatchItem> nameOutputs(const std::vector<std::string>& inputs, const fs::path& directory,
                                   const std::string& extension) {
    std::map<fs::path, std::string> inputFiles;
    for (const std::string& input : inputs) {
        inputFiles.emplace(resolved(input), input);
    }
    std::vector<BatchItem> items;
    std::map<fs::path, std::string> names;
    for (const std::string& input : inputs) {
        fs::path name = fs::path(input).filename();
        name.replace_extension(extension);
        const auto [other, isNew] = names.emplace(name, input);
        if (!isNew) {
            throw UsageError(other->second + " and " + input + " would both become " + (directory / name).string());
        }
        const auto clash = inputFiles.find(resolved(directory / name));
        if (clash != inputFiles.end()) {
            throw UsageError("the output " + (directory / name).string() + " is the input " + clash->second);
        }
        items.push_back({input, directory / name});
    }
    return items;
}

BatchRun runBatch(const std::vector<BatchItem>& items, std::size_t jobs,
                  const std::function<BatchResult(const BatchItem&)>& work,
                  const std::function<void(std::size_t)>& finished) {
    std::vector<std::size_t> order = startOrder(items, jobs);
    Pool pool(items, jobs, work);
    DeferredInterruption interruption;
    std::size_t most = jobs;
    for (std::size_t next = 0; (next < order.size() || pool.running() > 0) && interruption.signal() == 0;) {
        while (next < order.size() && pool.running() < most && pool.start(order[next])) {
            ++next;
        }
        finished(items.size() - (order.size() - next) - pool.running() - pool.postponed());
        if (pool.running() > 0) {
            pool.finishSome(interruption);
        }
        if (next == order.size() && pool.running() == 0) {
            order = pool.takePostponed();
            next = 0;
            most = 1;
        }
    }
    const int signal = interruption.signal();
    if (signal != 0) {
        pool.interrupt();
    } else {
        finished(items.size());
    }
    return {pool.takeResults(), signal};
}

} // namespace vexa::tool
