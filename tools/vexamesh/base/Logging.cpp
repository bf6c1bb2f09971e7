#include "base/Logging.h"

#include <atomic>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/trivial.hpp>
#include <boost/make_shared.hpp>
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

using Frontend = logs::sinks::synchronous_sink<Receiver>;

boost::shared_ptr<Frontend> addSink(std::function<void(const std::string&)> receive) {
    auto frontend = boost::make_shared<Frontend>(boost::make_shared<Receiver>(std::move(receive)));
    logs::core::get()->add_sink(frontend);
    return frontend;
}

} // namespace

struct LogCapture::Sink {
    boost::shared_ptr<Frontend> frontend;
};

LogCapture::LogCapture(std::function<void(const std::string&)> receive) : sink_(new Sink{addSink(std::move(receive))}) {
    sink_->frontend->set_formatter(logs::expressions::stream << logs::expressions::smessage);
    isCaptured = true;
}

LogCapture::~LogCapture() {
    isCaptured = false;
    logs::core::get()->remove_sink(sink_->frontend);
    delete sink_;
}

void receiveLog(std::function<void(const std::string&)> receive) {
    const auto frontend = addSink(std::move(receive));
    frontend->set_formatter(logs::expressions::stream << logs::trivial::severity << ": "
                                                      << logs::expressions::smessage);
    frontend->set_filter([](const logs::attribute_value_set&) { return !isCaptured; });
}

} // namespace vexa::tool
