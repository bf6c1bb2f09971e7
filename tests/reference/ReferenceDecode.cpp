#include "reference/ReferenceDecode.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace reference {

namespace {

void appendUnlessCollapsed(Indices& triangles, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    if (a != b && b != c && c != a) {
        triangles.insert(triangles.end(), {a, b, c});
    }
}

void decodeRun(Indices& triangles, int type, const Indices& run) {
    for (std::size_t i = 0; i + 2 < run.size(); i += type == trianglesCode ? 3 : 1) {
        const bool backwards = type == stripCode && i % 2 == 1;
        const std::uint32_t first = type == fanCode ? run[0] : run[backwards ? i + 1 : i];
        appendUnlessCollapsed(triangles, first, run[backwards ? i : i + 1], run[i + 2]);
    }
}

} // namespace

Indices decode(int type, const Indices& indices) {
    if (type != trianglesCode && type != stripCode && type != fanCode) {
        throw std::invalid_argument("no triangles in this type");
    }
    Indices triangles;
    Indices run;
    for (std::uint32_t index : indices) {
        if (index != restartIndex) {
            run.push_back(index);
            continue;
        }
        decodeRun(triangles, type, run);
        run.clear();
    }
    decodeRun(triangles, type, run);
    return triangles;
}

Indices canonical(const Indices& triangles) {
    std::vector<std::array<std::uint32_t, 3>> sorted;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        const std::uint32_t a = triangles[i];
        const std::uint32_t b = triangles[i + 1];
        const std::uint32_t c = triangles[i + 2];
        sorted.push_back(std::min({std::array{a, b, c}, std::array{b, c, a}, std::array{c, a, b}}));
    }
    std::sort(sorted.data(), sorted.data() + sorted.size());
    Indices flat;
    for (const auto& corners : sorted) {
        flat.insert(flat.end(), corners.begin(), corners.end());
    }
    return flat;
}

Indices withoutCollapsed(const Indices& triangles) {
    return decode(trianglesCode, triangles);
}

} // namespace reference
