#include "vexa/mesh/Types.h"

#include <array>

namespace vexa::mesh {

unsigned long getComponentSizeInBytes(ComponentType type) {
    static constexpr std::array<unsigned long, 7> sizes{1, 1, 2, 2, 4, 4, 4};
    if (type < BYTE || type > FLOAT) {
        return 0;
    }
    return sizes[static_cast<std::size_t>(type - BYTE)];
}

std::string getStringForComponentType(ComponentType type) {
    switch (type) {
    case BYTE:
        return "byte";
    case UNSIGNED_BYTE:
        return "unsigned byte";
    case SHORT:
        return "short";
    case UNSIGNED_SHORT:
        return "unsigned short";
    case INT:
        return "int";
    case UNSIGNED_INT:
        return "unsigned int";
    case FLOAT:
        return "float";
    }
    return "";
}

unsigned long getVertexCountForPrimitiveType(PrimitiveType type) {
    static constexpr std::array<unsigned long, 7> vertexCounts{1, 2, 2, 2, 3, 3, 3};
    const auto code = static_cast<std::uint32_t>(type);
    return code < vertexCounts.size() ? vertexCounts[code] : 0;
}

std::string getStringForPrimitiveType(PrimitiveType type) {
    switch (type) {
    case POINTS:
        return "POINTS";
    case LINES:
        return "LINES";
    case LINE_LOOP:
        return "LINE_LOOP";
    case LINE_STRIP:
        return "LINE_STRIP";
    case TRIANGLES:
        return "TRIANGLES";
    case TRIANGLE_STRIP:
        return "TRIANGLE_STRIP";
    case TRIANGLE_FAN:
        return "TRIANGLE_FAN";
    }
    return "(invalid)";
}

} // namespace vexa::mesh
