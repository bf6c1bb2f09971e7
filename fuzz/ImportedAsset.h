#pragma once

#include "Failure.h"
#include "base/Errors.h"
#include "io/Accessors.h"

#include <algorithm>

namespace fuzz {

/// Reads a file of another format than glTF; fails unless the result is a sound document or an error.
///
/// \param read returns the asset, or throws a FormatError
template <typename Read>
void checkImport(const Read& read) {
    try {
        const vexa::tool::Asset asset = read();
        for (const auto& mesh : asset.json.at("meshes")) {
            for (const auto& primitive : mesh.at("primitives")) {
                const auto positions = primitive.at("attributes").at("POSITION").template get<std::size_t>();
                const std::size_t vertices = asset.model.accessors.at(positions).count;
                for (const auto& [name, accessor] : primitive.at("attributes").items()) {
                    if (asset.model.accessors.at(accessor.template get<std::size_t>()).count != vertices) {
                        failUnlessEmpty("the attribute " + name + " has another number of elements");
                    }
                }
                const auto indices = readIndices(asset, primitive.at("indices").template get<std::size_t>());
                if (std::any_of(indices.begin(), indices.end(),
                                [&](unsigned int index) { return index >= vertices; })) {
                    failUnlessEmpty("an index is out of range");
                }
            }
        }
    } catch (const vexa::tool::FormatError&) {
        return;
    }
}

} // namespace fuzz
