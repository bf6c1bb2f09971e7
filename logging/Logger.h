#pragma once

#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/trivial.hpp>
#include <memory>
#include <string>

namespace logging {

/// Provides the logger for each record that the library writes.
///
/// A host program that has a logging library of its own defines `getBoostLogger` itself (its definition takes
/// precedence over the default one) or names the CMake target that does with `-DVEXA_LOGGING_TARGET`.
class __attribute__((visibility("default"))) Logger {
public:
    /// Returns the logger for one record.
    ///
    /// \param line     source line of the call site
    /// \param function full signature text of the calling function
    /// \param file     source file of the call site, without extension, for example `vexa/mesh/Mesh`
    /// \return never null. The default implementation returns a new logger whose records carry the arguments as the
    ///         attributes `Line` (int), `Function` and `File` (std::string). It installs no sink and no filter: those
    ///         belong to the program.
    static std::shared_ptr<boost::log::sources::severity_logger_mt<boost::log::trivial::severity_level>>
    getBoostLogger(int line, std::string function, std::string file);
};

} // namespace logging
