#pragma once

#include "io/AssetBuilder.h"
#include "io/import/PlyFile.h"

#include <set>
#include <string>
#include <vector>

namespace vexa::tool {

/// Turns the scalar properties of an element into attributes, and remembers which of them have been used.
class PlyAttributes {
public:
    PlyAttributes(const PlyElement& element, std::vector<std::string>& leftOut)
        : element_(element), leftOut_(leftOut) {}

    /// \throw FormatError there are no x, y and z, or one of them is not finite
    NewAttribute positions();

    /// Normals and texture coordinates, of those that are there.
    std::vector<NewAttribute> normalsAndTexcoords();

    /// Colours; nothing if there are none. Bytes remain bytes.
    std::vector<NewAttribute> colors();

    /// Every scalar that has not been used so far, by its own name.
    std::vector<NewAttribute> others();

    /// Marks a property as used.
    void use(const PlyProperty& property) { used_.insert(&property); }

    /// Names the properties that have not been used as left out.
    void reportUnused() const;

private:
    using Properties = std::vector<const PlyProperty*>;

    Properties take(const std::vector<std::string>& names);
    [[nodiscard]] std::vector<float> valuesOf(const Properties& properties, bool areColors = false) const;

    const PlyElement& element_;
    std::vector<std::string>& leftOut_;
    std::set<const PlyProperty*> used_;
};

} // namespace vexa::tool
