#include "Logging.h"

#include <atomic>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/trivial.hpp>
#include <boost/log/utility/setup/console.hpp>
#include <boost/make_shared.hpp>
#include <iostream>
#include <utility>

namespace vexa::tool {

namespace {

namespace logs = boost::log;

std::atomic<bool> isCaptured{false};

class Receiver : public logs::sinks::basic_formatted_sink_backend<char> {
public:
    explicit Receiver(std::function<void(const std::string&)> receive) : receive_(std::move(receive)) {}

    void consume(const logs::record_view&, const std::string& text) { receive_(text); }

private:
    std::function<void(const std::string&)> receive_;
};

} // namespace

struct LogCapture::Sink {
    boost::shared_ptr<logs::sinks::synchronous_sink<Receiver>> frontend;
};

LogCapture::LogCapture(std::function<void(const std::string&)> receive) : sink_(new Sink) {
    sink_->frontend =
        boost::make_shared<logs::sinks::synchronous_sink<Receiver>>(boost::make_shared<Receiver>(std::move(receive)));
    sink_->frontend->set_formatter(logs::expressions::stream << logs::expressions::smessage);
    logs::core::get()->add_sink(sink_->frontend);
    isCaptured = true;
}

LogCapture::~LogCapture() {
    isCaptured = false;
    logs::core::get()->remove_sink(sink_->frontend);
    delete sink_;
}

void logToStandardError() {
    namespace expressions = logs::expressions;
    const auto sink = logs::add_console_log(
        std::cerr, logs::keywords::format = expressions::stream << "vexamesh: " << logs::trivial::severity << ": "
                                                                << expressions::smessage);
    sink->set_filter([](const logs::attribute_value_set&) { return !isCaptured; });
}

} // namespace vexa::tool
