#pragma once

namespace vexa::tool {

/// Sends the library's log records to standard error, one line each; without a sink Boost.Log would print them to
/// standard output, among the results.
void logToStandardError();

} // namespace vexa::tool
