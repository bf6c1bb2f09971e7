#include "support/LogCapture.h"

#ifndef VEXA_NO_LOGGING

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/trivial.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>
#include <mutex>
#include <stdexcept>

namespace vexa::test {

namespace {

namespace sinks = boost::log::sinks;

class Backend : public sinks::basic_sink_backend<sinks::concurrent_feeding> {
public:
    explicit Backend(std::size_t throwAt) : throwAt_(throwAt) {}

    void consume(const boost::log::record_view& view) {
        LogRecord record;
        if (const auto severity = boost::log::extract<boost::log::trivial::severity_level>("Severity", view)) {
            record.severity = static_cast<Severity>(severity.get());
        }
        record.message = boost::log::extract_or_default<std::string>("Message", view, std::string());
        record.line = boost::log::extract_or_default<int>("Line", view, -1);
        record.function = boost::log::extract_or_default<std::string>("Function", view, std::string());
        record.file = boost::log::extract_or_default<std::string>("File", view, std::string());

        const std::lock_guard lock(mutex_);
        if (seen_++ == throwAt_) {
            throw std::runtime_error("log sink");
        }
        records_.push_back(std::move(record));
    }

    std::vector<LogRecord> records() const {
        const std::lock_guard lock(mutex_);
        return records_;
    }

    void clear() {
        const std::lock_guard lock(mutex_);
        records_.clear();
    }

private:
    const std::size_t throwAt_;
    mutable std::mutex mutex_;
    std::size_t seen_ = 0;
    std::vector<LogRecord> records_;
};

} // namespace

class LogCapture::Impl {
public:
    Impl(Severity minimum, std::size_t throwAt)
        : backend(boost::make_shared<Backend>(throwAt)), sink(boost::make_shared<Sink>(backend)) {
        sink->set_filter([minimum](const boost::log::attribute_value_set& values) {
            const auto severity = boost::log::extract<boost::log::trivial::severity_level>("Severity", values);
            return !severity || static_cast<Severity>(severity.get()) >= minimum;
        });
        boost::log::core::get()->add_sink(sink);
    }
    ~Impl() { boost::log::core::get()->remove_sink(sink); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    [[nodiscard]] std::vector<LogRecord> records() const { return backend->records(); }
    void clear() { backend->clear(); }

private:
    using Sink = sinks::synchronous_sink<Backend>;
    const boost::shared_ptr<Backend> backend;
    const boost::shared_ptr<Sink> sink;
};

} // namespace vexa::test

#else

namespace vexa::test {

/// Collects nothing: a library built without logging writes no records.
class LogCapture::Impl {
public:
    Impl(Severity, std::size_t) {}

    [[nodiscard]] static std::vector<LogRecord> records() { return {}; }
    static void clear() {}
};

} // namespace vexa::test

#endif

namespace vexa::test {

LogCapture::LogCapture(Severity minimum, std::size_t throwAt) : impl_(std::make_unique<Impl>(minimum, throwAt)) {}

LogCapture::~LogCapture() = default;

std::vector<LogRecord> LogCapture::records() const {
    return impl_->records();
}

std::vector<std::string> LogCapture::messages() const {
    std::vector<std::string> messages;
    for (LogRecord& record : impl_->records()) {
        messages.push_back(std::move(record.message));
    }
    return messages;
}

void LogCapture::clear() {
    impl_->clear();
}

} // namespace vexa::test
