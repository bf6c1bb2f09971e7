#include "io/IsolatedReader.h"

#include "base/Errors.h"
#include "io/DocumentPipe.h"
#include "process/Subprocess.h"

namespace vexa::tool {

namespace {

constexpr std::size_t bytesPerMiB = 1 << 20;
constexpr std::size_t defaultMemory = 4096 * bytesPerMiB;
// The file, its buffers, what the reader makes of them, and some of it twice.
constexpr std::size_t memoryPerByte = 8;
constexpr std::size_t longestFault = 1000;

ParseLimits& currentLimits() {
    static ParseLimits limits;
    return limits;
}

ProcessLimits limitsFor(std::size_t fileSize) {
    const std::size_t usual = defaultMemory + memoryPerByte * fileSize;
    const ParseLimits& limits = currentLimits();
    return {limits.memory ? *limits.memory * bytesPerMiB : usual, limits.seconds};
}

const char* adviceOn(ProcessError::Cause cause) {
    switch (cause) {
    case ProcessError::Cause::Memory:
        return "; if it is really that large, --parse-memory gives it more";
    case ProcessError::Cause::SystemMemory:
        return "; raise that limit (ulimit -v)";
    case ProcessError::Cause::Time:
        return "; if it is really that large, --parse-time gives it more";
    case ProcessError::Cause::Interruption:
        return "; run it again, with more memory if the system has killed it for lack of it";
    default:
        return "; it is probably damaged, export it again or convert it with another program";
    }
}

} // namespace

void setParseLimits(const ParseLimits& limits) {
    currentLimits() = limits;
}

Document readIsolated(const std::filesystem::path& file, std::size_t size, const std::function<Document()>& parse) {
    try {
        ChildProcess child(
            [&](PipeWriter& pipe) {
                std::optional<Document> document;
                std::string fault;
                try {
                    document = parse();
                } catch (const std::bad_alloc&) {
                    throw;
                } catch (const std::length_error&) {
                    // A size that no memory could have.
                    throw std::bad_alloc();
                } catch (const std::exception& error) {
                    fault = shortened(error.what(), longestFault);
                }
                pipe.writeValue(document.has_value());
                if (document) {
                    sendDocument(pipe, *document);
                } else {
                    pipe.writeText(fault);
                }
            },
            limitsFor(size));
        if (!child.readValue<bool>()) {
            throw FileError(child.readText());
        }
        Document document = receiveDocument(child);
        child.wait();
        document.file = file;
        return document;
    } catch (const ProcessError& error) {
        throw FileError(file.string(), std::string("reading it ") + error.what() + adviceOn(error.cause()));
    }
}

} // namespace vexa::tool
