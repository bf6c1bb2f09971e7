#include "support/Paths.h"

namespace tool_test {

const char* const programPath = VEXAMESH_PROGRAM;
const char* const sourcePath = VEXAMESH_SOURCES;

} // namespace tool_test
