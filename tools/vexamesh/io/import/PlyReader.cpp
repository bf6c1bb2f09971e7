#include "io/import/PlyReader.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "io/AssetBuilder.h"
#include "io/import/FaceSet.h"
#include "io/import/ImportedAttributes.h"
#include "io/import/PlyAttributes.h"
#include "io/import/PlyFile.h"
#include "io/import/Textures.h"

#include <algorithm>
#include <map>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

constexpr unsigned int restartIndex = 0xffffffff;

/// Faces that show the same picture, if any, and have texture coordinates of their own, or not.
struct FaceGroup {
    FaceSet set;
    std::vector<std::size_t> faces; ///< their places in the element
    std::vector<float> texcoords;   ///< two for each corner, or none
};
using GroupKey = std::pair<std::optional<std::size_t>, bool>;

/// The list of texture coordinates of the corners; null if there is none.
const PlyProperty* findTexcoords(const PlyElement& faces) {
    const PlyProperty* const texcoords = faces.findList("texcoord");
    return texcoords != nullptr ? texcoords : faces.findList("texcoords");
}

const PlyProperty* findIndices(const PlyElement& element) {
    const PlyProperty* const indices = element.findList("vertex_indices");
    return indices != nullptr ? indices : element.findList("vertex_index");
}

std::size_t lengthOf(const PlyProperty* list, std::size_t entry) {
    return list == nullptr ? 0 : list->ends[entry] - list->begin(entry);
}

class PlyConverter {
public:
    PlyConverter(const PlyFile& ply, const std::filesystem::path& directory)
        : ply_(ply), textures_(builder_, directory, leftOut_) {}

    Asset convert() {
        for (const std::size_t line : ply_.unknownLines) {
            leftOut_.push_back("line " + std::to_string(line) + " of the header, whose keyword is unknown");
        }
        readVertices();
        readTextureNames();
        for (const PlyElement& element : ply_.elements) {
            if (element.name == "face") {
                readFaces(element);
            } else if (element.name == "tristrips") {
                readStrips(element);
            } else if (element.name == "edge") {
                readEdges(element);
            } else if (&element != ply_.find("vertex") && element.count > 0) {
                leftOut_.push_back("element " + element.name + ", " + std::to_string(element.count) +
                                   (element.count == 1 ? " entry" : " entries"));
            }
        }
        if (ply_.trailingBytes > 0) {
            leftOut_.push_back(counted(ply_.trailingBytes, "byte") + " after the last entry");
        }
        return finish();
    }

private:
    Asset finish() {
        std::vector<NewPrimitive> primitives = makePrimitives(vertices_, sets_, leftOut_);
        if (primitives.empty() && vertexCount() > 0) {
            primitives.push_back(makePoints(vertices_));
        }
        if (!primitives.empty()) {
            builder_.addMesh("", primitives);
        }
        for (std::size_t i = 0; i < textureNames_.size(); ++i) {
            if (!materials_.contains(i)) {
                leftOut_.push_back("texture " + textureNames_[i] + ": no face with texture coordinates shows it");
            }
        }
        return builder_.finish(std::move(leftOut_));
    }

    [[nodiscard]] std::size_t vertexCount() const { return vertices_.front().values.count; }

    [[nodiscard]] bool vertexHas(const char* attribute) const {
        return std::any_of(vertices_.begin(), vertices_.end(),
                           [&](const NewAttribute& candidate) { return candidate.name == attribute; });
    }

    void readVertices() {
        const PlyElement* const element = ply_.find("vertex");
        if (element == nullptr) {
            throw FormatError("has no element vertex");
        }
        PlyAttributes attributes(*element, leftOut_);
        vertices_.push_back(attributes.positions());
        for (const auto& more : {attributes.normalsAndTexcoords(), attributes.colors(), attributes.others()}) {
            vertices_.insert(vertices_.end(), more.begin(), more.end());
        }
        attributes.reportUnused();
    }

    void readTextureNames() {
        const std::string keyword = "TextureFile ";
        for (const std::string& comment : ply_.comments) {
            if (comment.starts_with(keyword)) {
                textureNames_.push_back(comment.substr(keyword.size()));
            }
        }
    }

    /// A number of the file as the number of a vertex.
    [[nodiscard]] unsigned int vertexOf(double value, const std::string& element, std::size_t entry) const {
        constexpr double largest = 1e15;
        if (!(value >= 0 && value < static_cast<double>(vertexCount()))) {
            throw FormatError(element + " " + std::to_string(entry) + " names vertex " +
                              std::to_string(static_cast<std::int64_t>(std::clamp(value, -largest, largest))) +
                              ", but there are only " + std::to_string(vertexCount()));
        }
        return static_cast<unsigned int>(value);
    }

    void readFaces(const PlyElement& element) {
        const PlyProperty* const indices = findIndices(element);
        if (indices == nullptr) {
            leftOut_.emplace_back("element face: it has no list vertex_indices");
            return;
        }
        PlyAttributes attributes(element, leftOut_);
        attributes.use(*indices);
        const PlyProperty* const texcoords = findTexcoords(element);
        const PlyProperty* const numbers = textureNames_.empty() ? nullptr : element.findScalar("texnumber");
        for (const PlyProperty* property : {texcoords, numbers}) {
            if (property != nullptr) {
                attributes.use(*property);
            }
        }
        const auto colors = vertexHas("COLOR_0") ? std::vector<NewAttribute>() : attributes.colors();
        attributes.reportUnused();
        std::map<GroupKey, FaceGroup> groups;
        for (std::size_t f = 0; f < element.count; ++f) {
            const bool hasTexcoords = lengthOf(texcoords, f) > 0;
            const auto texture = hasTexcoords || vertexHas("TEXCOORD_0") ? textureOf(numbers, f) : std::nullopt;
            FaceGroup& group = groups[{texture, hasTexcoords}];
            addFace(*indices, f, group);
            addCornerTexcoords(texcoords, f, group);
        }
        for (auto& [key, group] : groups) {
            addGroup(key, group, colors);
        }
    }

    /// The number of the picture that a face shows.
    [[nodiscard]] std::optional<std::size_t> textureOf(const PlyProperty* numbers, std::size_t face) const {
        const double number = numbers == nullptr ? 0 : numbers->value(face);
        return number >= 0 && number < static_cast<double>(textureNames_.size())
                   ? std::optional(static_cast<std::size_t>(number))
                   : std::nullopt;
    }

    void addFace(const PlyProperty& indices, std::size_t face, FaceGroup& group) const {
        for (std::size_t i = indices.begin(face); i < indices.ends[face]; ++i) {
            group.set.corners.push_back(vertexOf(indices.value(i), "face", face));
        }
        group.set.sizes.push_back(static_cast<unsigned int>(lengthOf(&indices, face)));
        group.faces.push_back(face);
    }

    static void addCornerTexcoords(const PlyProperty* texcoords, std::size_t face, FaceGroup& group) {
        const std::size_t length = lengthOf(texcoords, face);
        if (length > 0 && length != 2 * static_cast<std::size_t>(group.set.sizes.back())) {
            throw FormatError("face " + std::to_string(face) + " has " + std::to_string(length) + " numbers in its " +
                              texcoords->name + ", but " + std::to_string(group.set.sizes.back()) +
                              " corners, which take two each");
        }
        for (std::size_t i = 0; i < length; ++i) {
            group.texcoords.push_back(static_cast<float>(texcoords->value(texcoords->begin(face) + i)));
        }
    }

    void addGroup(const GroupKey& key, FaceGroup& group, const std::vector<NewAttribute>& colors) {
        // Corners come second where the vertices have texture coordinates, too.
        const int texcoordSet = key.second && vertexHas("TEXCOORD_0") ? 1 : 0;
        if (key.second) {
            addTexcoords(group.set.cornerAttributes, std::move(group.texcoords), leftOut_, texcoordSet);
        }
        for (const NewAttribute& attribute : colors) {
            group.set.faceAttributes.push_back(gather(attribute, group.faces));
        }
        if (key.first && (!key.second || !group.set.cornerAttributes.empty())) {
            group.set.material = materialOf(*key.first, texcoordSet);
        }
        sets_.push_back(std::move(group.set));
    }

    std::optional<std::size_t> materialOf(std::size_t textureNumber, int texcoordSet) {
        const auto texture = textures_.load(textureNames_[textureNumber]);
        const auto [entry, isNew] = materials_.try_emplace(textureNumber, std::nullopt);
        if (isNew && texture) {
            Json info = {{"index", *texture}};
            if (texcoordSet != 0) {
                info["texCoord"] = texcoordSet;
            }
            entry->second = builder_.addMaterial(
                {{"pbrMetallicRoughness", {{"baseColorTexture", std::move(info)}, {"metallicFactor", 0}}}});
        }
        return entry->second;
    }

    /// Triangle strips, one after the other in a list, with -1 between them.
    void readStrips(const PlyElement& element) {
        const PlyProperty* const indices = findIndices(element);
        if (indices == nullptr) {
            leftOut_.emplace_back("element tristrips: it has no list vertex_indices");
            return;
        }
        PlyAttributes attributes(element, leftOut_);
        attributes.use(*indices);
        attributes.reportUnused();
        FaceSet set;
        for (std::size_t s = 0; s < element.count; ++s) {
            std::vector<unsigned int> strip;
            for (std::size_t i = indices->begin(s); i < indices->ends[s]; ++i) {
                const double value = indices->value(i);
                strip.push_back(value == -1 ? restartIndex : vertexOf(value, "strip", s));
            }
            const std::vector<unsigned int> triangles = mesh::toTriangles(mesh::TRIANGLE_STRIP, strip);
            set.corners.insert(set.corners.end(), triangles.begin(), triangles.end());
        }
        set.sizes.assign(set.corners.size() / 3, 3);
        sets_.push_back(std::move(set));
    }

    void readEdges(const PlyElement& element) {
        const PlyProperty* const from = element.findScalar("vertex1");
        const PlyProperty* const to = element.findScalar("vertex2");
        if (from == nullptr || to == nullptr) {
            leftOut_.emplace_back("element edge: it has no properties vertex1 and vertex2");
            return;
        }
        PlyAttributes attributes(element, leftOut_);
        attributes.use(*from);
        attributes.use(*to);
        FaceSet set;
        if (!vertexHas("COLOR_0")) {
            set.faceAttributes = attributes.colors();
        }
        attributes.reportUnused();
        for (std::size_t e = 0; e < element.count; ++e) {
            set.corners.push_back(vertexOf(from->value(e), "edge", e));
            set.corners.push_back(vertexOf(to->value(e), "edge", e));
            set.sizes.push_back(2);
        }
        sets_.push_back(std::move(set));
    }

    const PlyFile& ply_;
    std::vector<std::string> leftOut_;
    AssetBuilder builder_;
    TextureLoader textures_;
    std::vector<std::string> textureNames_;
    std::map<std::size_t, std::optional<std::size_t>> materials_; ///< by the number of the picture
    std::vector<NewAttribute> vertices_;
    std::vector<FaceSet> sets_;
};

} // namespace

Asset readPly(const Bytes& content, const std::filesystem::path& file) {
    return PlyConverter(parsePly(content), file.parent_path()).convert();
}

} // namespace vexa::tool
