#include <logging/Logger.h>

#include <boost/log/expressions.hpp>
#include <boost/log/utility/setup/console.hpp>

#include <iostream>

int main() {
    namespace expr = boost::log::expressions;
    boost::log::add_console_log(std::cout,
                                boost::log::keywords::format =
                                    (expr::stream << expr::attr<std::string>("File") << ':' << expr::attr<int>("Line")
                                                  << ": " << expr::attr<std::string>("Function") << ": "
                                                  << boost::log::trivial::severity << ": " << expr::smessage));
    const auto logger = logging::Logger::getBoostLogger(12, "int main()", "outside/loggingUser");
    BOOST_LOG_SEV(*logger, boost::log::trivial::warning) << "one record";
}
