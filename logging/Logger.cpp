#include "logging/Logger.h"

#include <boost/log/attributes/constant.hpp>
#include <utility>

namespace logging {

std::shared_ptr<boost::log::sources::severity_logger_mt<boost::log::trivial::severity_level>>
Logger::getBoostLogger(int line, std::string function, std::string file) {
    auto logger = std::make_shared<boost::log::sources::severity_logger_mt<boost::log::trivial::severity_level>>();
    logger->add_attribute("Line", boost::log::attributes::constant<int>(line));
    logger->add_attribute("Function", boost::log::attributes::constant<std::string>(std::move(function)));
    logger->add_attribute("File", boost::log::attributes::constant<std::string>(std::move(file)));
    return logger;
}

} // namespace logging
