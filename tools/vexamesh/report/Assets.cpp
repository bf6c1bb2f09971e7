#include "report/Assets.h"

#include <cstddef>

// The assembler copies the files; a literal of this size would take the compiler longer than all other sources.
asm(".section .rodata\n"
    ".global vexameshReportScript\n"
    "vexameshReportScript:\n"
    ".incbin \"" VEXAMESH_REPORT_SCRIPT "\"\n"
    ".global vexameshReportScriptEnd\n"
    "vexameshReportScriptEnd:\n"
    ".global vexameshReportStyle\n"
    "vexameshReportStyle:\n"
    ".incbin \"" VEXAMESH_REPORT_STYLE "\"\n"
    ".global vexameshReportStyleEnd\n"
    "vexameshReportStyleEnd:\n"
    ".byte 0\n"
    ".previous\n");

extern "C" {
extern const char vexameshReportScript[];
extern const char vexameshReportScriptEnd[];
extern const char vexameshReportStyle[];
extern const char vexameshReportStyleEnd[];
}

namespace vexa::tool {

namespace {

std::string_view between(const char* first, const char* last) {
    return {first, static_cast<std::size_t>(last - first)};
}

} // namespace

std::string_view reportScript() {
    return between(vexameshReportScript, vexameshReportScriptEnd);
}

std::string_view reportStyle() {
    return between(vexameshReportStyle, vexameshReportStyleEnd);
}

} // namespace vexa::tool
