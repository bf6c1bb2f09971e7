#include "report/Assets.h"

#include <cstddef>

// The assembler copies the files; a literal of this size would take the compiler longer than all other sources.
#define EMBED_FILE(NAME, FILE)                                                                                         \
    asm(".section .rodata\n"                                                                                           \
        ".global " #NAME "\n" #NAME ":\n"                                                                              \
        ".incbin \"" FILE "\"\n"                                                                                       \
        ".global " #NAME "End\n" #NAME "End:\n"                                                                        \
        ".byte 0\n"                                                                                                    \
        ".previous\n");                                                                                                \
    extern "C" const char NAME[];                                                                                      \
    extern "C" const char NAME##End[]

EMBED_FILE(vexameshReportScript, VEXAMESH_REPORT_SCRIPT);
EMBED_FILE(vexameshReportStyle, VEXAMESH_REPORT_STYLE);

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
