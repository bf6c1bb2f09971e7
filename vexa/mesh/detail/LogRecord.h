#pragma once

// For sources only: the logging headers are heavy.

#ifndef VEXA_NO_LOGGING

#include "logging/Logger.h"

#include <boost/log/sources/record_ostream.hpp>

/// Opens one log record and is the stream of its message: `VEXA_MESH_LOG(info, fn, file) << "HEG: " << count;`.
///
/// Asks for a logger exactly once, with this line and the two texts. When the logging core refuses the record, nothing
/// after the `<<` is evaluated, so the streamed pieces must have no side effects. The record is pushed at the end of
/// the statement, and dropped when an exception leaves it. A statement of its own, also in an `if` without braces.
///
/// \param severity     an enumerator of boost::log::trivial::severity_level, without its namespace
/// \param functionText full signature text of the calling function. A literal: `__PRETTY_FUNCTION__` differs between
///                     compilers
/// \param fileText     source path without extension. A literal too: `__FILE__` depends on where the build ran
// A loop of one round rather than an `if` with an initialiser, which would capture a following `else`.
#define VEXA_MESH_LOG(severity, functionText, fileText)                                                                \
    for (auto vexaMeshLogger = ::logging::Logger::getBoostLogger(__LINE__, functionText, fileText); vexaMeshLogger;    \
         vexaMeshLogger.reset())                                                                                       \
    BOOST_LOG_SEV(*vexaMeshLogger, ::boost::log::trivial::severity)

#else

namespace vexa::mesh::detail {

/// Stands for a record in a library that is built without logging.
struct NoRecord {
    template <typename T>
    const NoRecord& operator<<(const T&) const {
        return *this;
    }
};

} // namespace vexa::mesh::detail

#define VEXA_MESH_LOG(severity, functionText, fileText)                                                                \
    while (false)                                                                                                      \
    ::vexa::mesh::detail::NoRecord()

#endif
