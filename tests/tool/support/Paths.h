#pragma once

namespace tool_test {

/// The built program.
extern const char* const programPath;

/// The root of the source tree.
extern const char* const sourcePath;

} // namespace tool_test
