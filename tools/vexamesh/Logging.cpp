#include "Logging.h"

#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/trivial.hpp>
#include <boost/log/utility/setup/console.hpp>
#include <iostream>

namespace vexa::tool {

void logToStandardError() {
    namespace expressions = boost::log::expressions;
    boost::log::add_console_log(std::cerr, boost::log::keywords::format =
                                               expressions::stream << "vexamesh: " << boost::log::trivial::severity
                                                                   << ": " << expressions::smessage);
}

} // namespace vexa::tool
