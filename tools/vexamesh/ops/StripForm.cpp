#include "ops/StripForm.h"

#include "base/Text.h"
#include "io/AssetBuilder.h"
#include "io/gltf/PrimitiveRestart.h"
#include "ops/MeshStats.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace vexa::tool {

namespace {

using mesh::IndexedPrimitive;

/// The least that a further primitive must save: about the size of its JSON in the file, and a share that makes up for
/// drawing it by itself.
constexpr std::size_t furtherPrimitiveBytes = 256;
constexpr std::size_t furtherPrimitiveShare = 16;

/// Bytes of the indices of primitives as `replaceIndices` writes them.
std::size_t bytesOf(const std::vector<IndexedPrimitive>& primitives, Joining joining) {
    std::size_t bytes = 0;
    std::size_t strips = 0;
    std::size_t groupIndices = 0;
    std::size_t groupWidth = 0;
    for (const IndexedPrimitive& primitive : primitives) {
        const std::size_t width = mesh::getComponentSizeInBytes(narrowestIndexType(primitive.indices));
        if (joining == Joining::RestartFallback && primitive.type == mesh::TRIANGLE_STRIP) {
            ++strips;
            groupIndices += primitive.indices.size();
            groupWidth = std::max(groupWidth, width);
        } else {
            bytes += primitive.indices.size() * width;
        }
    }
    return bytes + (groupIndices + (strips > 1 ? strips - 1 : 0)) * groupWidth;
}

/// Corners of triangles whose vertex is that of an earlier corner, too.
std::size_t countSharedCorners(const Primitive& primitive) {
    std::vector<bool> isUsed(primitive.vertices);
    std::size_t shared = 0;
    for (const unsigned int index : mesh::toTriangles(primitive.type, primitive.indices)) {
        shared += isUsed.at(index) ? 1 : 0;
        isUsed[index] = true;
    }
    return shared;
}

bool arePositionsRepeated(const Document& document, const Primitive& primitive) {
    const Attribute* attribute = primitive.findAttribute("POSITION");
    if (attribute == nullptr) {
        return false;
    }
    const AccessorData positions = readAccessor(document.asset, attribute->accessor);
    std::unordered_set<std::string_view> seen;
    for (std::size_t i = 0; i < positions.count; ++i) {
        const auto* bytes = reinterpret_cast<const char*>(positions.bytes.data()) + i * positions.elementSize();
        if (!seen.insert({bytes, positions.elementSize()}).second) {
            return true;
        }
    }
    return false;
}

/// \param hasStrips whether any two triangles can be in one strip
std::string whyNotStrips(const Document& document, const Primitive& primitive, bool hasStrips, std::size_t stripBytes,
                         std::size_t bytes) {
    const std::size_t shared = countSharedCorners(primitive);
    if (16 * shared < primitive.indices.size()) {
        const bool isRepeated = arePositionsRepeated(document, primitive);
        const char* help = !isRepeated ? ""
                           : primitive.findAttribute("NORMAL") != nullptr
                               ? ": normals are per face; `--weld` joins positions (`--weld 0` equal ones)"
                               : ": positions are repeated; `--weld` joins them";
        return std::string(shared == 0 ? "no two triangles share corners" : "few triangles share corners") + help;
    }
    if (!hasStrips) {
        return "no two triangles share edges";
    }
    return "strips would take " + counted(stripBytes, "byte") + " of indices instead of " + std::to_string(bytes);
}

/// Whether a primitive may remain as it is.
bool canStay(const Primitive& primitive, const StripSettings& settings) {
    const bool hasRestarts =
        std::find(primitive.indices.begin(), primitive.indices.end(), decodedRestart) != primitive.indices.end();
    const bool wantsOtherStrips = settings.search.maxTriangles != 0 || settings.search.forVertexCache;
    return (!hasRestarts || settings.joining == Joining::Restart) &&
           (primitive.type == mesh::TRIANGLES || !wantsOtherStrips);
}

bool canNarrow(const Primitive& primitive) {
    return primitive.indexAccessor && mesh::getComponentSizeInBytes(narrowestIndexType(primitive.indices)) <
                                          mesh::getComponentSizeInBytes(primitive.indexType);
}

void useParts(StripResult& result, std::vector<IndexedPrimitive> parts, const StripSettings& settings) {
    countParts(parts, result);
    if (settings.keepParts) {
        result.parts = std::move(parts);
    }
}

/// The form of strips that are written as they were cut.
StripForm formOf(const std::vector<IndexedPrimitive>& primitives) {
    const auto lists = std::count_if(primitives.begin(), primitives.end(), [](const IndexedPrimitive& primitive) {
        return primitive.type == mesh::TRIANGLES;
    });
    return lists == 0                                             ? StripForm::Strips
           : static_cast<std::size_t>(lists) == primitives.size() ? StripForm::List
                                                                  : StripForm::StripsAndList;
}

/// The primitive as it is, as parts.
std::vector<IndexedPrimitive> runsOf(const Primitive& primitive) {
    std::vector<IndexedPrimitive> runs;
    if (primitive.type == mesh::TRIANGLES) {
        runs.push_back({mesh::TRIANGLES, mesh::toTriangles(mesh::TRIANGLES, primitive.indices)});
        return runs;
    }
    forEachRun(primitive.indices, [&](auto begin, auto end) {
        if (end - begin >= 3) {
            runs.push_back({primitive.type, {begin, end}});
        }
    });
    return runs;
}

} // namespace

const char* formText(StripForm form) {
    switch (form) {
    case StripForm::StripsAndList:
        return "strips and a list";
    case StripForm::List:
        return "a list";
    case StripForm::Unchanged:
        return "unchanged";
    case StripForm::Strips:
        break;
    }
    return "strips";
}

ChosenForm chooseForm(const Document& document, const Primitive& primitive, bool isShared,
                      const StripSettings& settings, StripResult& result) {
    ChosenForm chosen;
    chosen.form = formOf(result.primitives);
    if (settings.allStrips) {
        return chosen;
    }
    const bool hasStrips = result.strips + result.fans > 0;
    const std::size_t stripBytes = bytesOf(result.primitives, settings.joining);
    std::vector<IndexedPrimitive> list{{mesh::TRIANGLES, mesh::toTriangles(primitive.type, primitive.indices)}};
    std::size_t bytes = stripBytes;
    const auto offer = [&](StripForm form, std::size_t itsBytes) {
        if (itsBytes < bytes) {
            bytes = itsBytes;
            chosen.form = form;
        }
    };
    const bool isNarrowed = !isShared && canNarrow(primitive);
    if (canStay(primitive, settings)) {
        offer(StripForm::Unchanged, isShared     ? 0
                                    : isNarrowed ? bytesOf({{primitive.type, primitive.indices}}, Joining::None)
                                                 : indexBytes(primitive));
    }
    offer(StripForm::List, bytesOf(list, settings.joining));
    if (!result.withList.empty()) {
        const std::size_t itsBytes = bytesOf(result.withList, settings.joining);
        offer(StripForm::StripsAndList, itsBytes + std::max(furtherPrimitiveBytes, itsBytes / furtherPrimitiveShare));
    }
    if (bytes == stripBytes) {
        chosen.why = chosen.form == StripForm::List ? whyNotStrips(document, primitive, false, 0, 0) : "";
        return chosen;
    }
    if (chosen.form == StripForm::StripsAndList) {
        chosen.why = counted(result.leftOver, "triangle") + " would be in strips by themselves";
        result.primitives = std::move(result.withList);
        return chosen;
    }
    const bool isForOthers = isShared && chosen.form == StripForm::Unchanged;
    chosen.why = isForOthers ? "others use its indices in another way"
                             : whyNotStrips(document, primitive, hasStrips, stripBytes, bytes);
    const bool isList = chosen.form == StripForm::List;
    useParts(result, isList ? list : runsOf(primitive), settings);
    result.primitives.clear();
    if (isList) {
        result.primitives = std::move(list);
    } else if (isNarrowed) {
        result.primitives.push_back({primitive.type, primitive.indices});
    }
    return chosen;
}

} // namespace vexa::tool
