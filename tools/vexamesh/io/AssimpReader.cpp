#include "io/AssimpReader.h"

#include "Errors.h"
#include "io/AssetBuilder.h"
#include "io/LoaderChecks.h"
#include "io/Polygon.h"

#include <algorithm>
#include <array>
#include <assimp/Importer.hpp>
#include <assimp/importerdesc.h>
#include <assimp/scene.h>
#include <bit>
#include <cmath>
#include <new>
#include <numeric>
#include <optional>
#include <span>
#include <unordered_map>

namespace vexa::tool {

namespace {

/// Leaves the importer of one kind of files.
void registerOnly(Assimp::Importer& importer, const std::string& name) {
    for (std::size_t i = importer.GetImporterCount(); i-- > 0;) {
        if (importer.GetImporterInfo(i)->mFileExtensions != name) {
            Assimp::BaseImporter* const other = importer.GetImporter(i);
            importer.UnregisterLoader(other);
        }
    }
}

/// \return what to load instead of the content
std::optional<Bytes> check(const Bytes& content, const std::string& extension) {
    if (extension == ".stl") {
        return checkStl(content);
    }
    if (extension == ".off") {
        return checkOff(content);
    }
    checkPly(content);
    return std::nullopt;
}

const aiScene& load(Assimp::Importer& importer, const Bytes& content, const std::string& name) {
    registerOnly(importer, name);
    const aiScene* scene = importer.ReadFileFromMemory(content.data(), content.size(), 0, name.c_str());
    if (scene != nullptr) {
        return *scene;
    }
    try {
        if (importer.GetException()) {
            std::rethrow_exception(importer.GetException());
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        // Its text is the importer's, below.
    }
    const std::string error = importer.GetErrorString();
    throw FormatError("cannot be read: " + (error.empty() ? "it is no such file" : error.substr(0, error.find('\n'))));
}

bool isFinite(const aiVector3D& vector) {
    return std::isfinite(vector.x) && std::isfinite(vector.y) && std::isfinite(vector.z);
}

std::span<const aiVector3D> positionsOf(const aiMesh& mesh) {
    const std::span<const aiVector3D> positions(mesh.mVertices, mesh.mNumVertices);
    const auto wrong = std::find_if_not(positions.begin(), positions.end(), isFinite);
    if (wrong != positions.end()) {
        throw FormatError("vertex " + std::to_string(wrong - positions.begin()) + " is not finite");
    }
    return positions;
}

/// The indices of a mesh, by the kind of primitive that they make.
struct Faces {
    std::vector<unsigned int> points;
    std::vector<unsigned int> lines;
    std::vector<unsigned int> triangles;
};

void addFace(std::span<const unsigned int> face, std::span<const aiVector3D> positions, Faces& faces) {
    std::vector<Point> corners;
    for (const unsigned int index : face) {
        if (index >= positions.size()) {
            throw FormatError("a face names vertex " + std::to_string(index) + ", but there are only " +
                              std::to_string(positions.size()));
        }
    }
    switch (face.size()) {
    case 0:
        return;
    case 1:
        faces.points.push_back(face[0]);
        return;
    case 2:
        faces.lines.insert(faces.lines.end(), face.begin(), face.end());
        return;
    case 3:
        faces.triangles.insert(faces.triangles.end(), face.begin(), face.end());
        return;
    default:
        break;
    }
    for (const unsigned int index : face) {
        corners.push_back({positions[index].x, positions[index].y, positions[index].z});
    }
    for (const auto& triangle : triangulatePolygon(corners)) {
        for (const std::size_t corner : triangle) {
            faces.triangles.push_back(face[corner]);
        }
    }
}

Faces facesOf(const aiMesh& mesh, std::span<const aiVector3D> positions) {
    Faces faces;
    for (const aiFace& face : std::span(mesh.mFaces, mesh.mNumFaces)) {
        addFace({face.mIndices, face.mNumIndices}, positions, faces);
    }
    if (mesh.mNumFaces == 0) {
        faces.points.resize(positions.size());
        std::iota(faces.points.begin(), faces.points.end(), 0U);
    }
    return faces;
}

AccessorData vectors(std::span<const aiVector3D> values) {
    std::vector<float> floats;
    for (const aiVector3D& value : values) {
        floats.insert(floats.end(), {value.x, value.y, value.z});
    }
    return floatValues("VEC3", floats);
}

void addNormals(const aiMesh& mesh, std::vector<NewAttribute>& attributes, std::vector<std::string>& warnings) {
    std::vector<aiVector3D> normals(mesh.mNormals, mesh.mNormals + mesh.mNumVertices);
    for (aiVector3D& normal : normals) {
        const double length =
            std::hypot(static_cast<double>(normal.x), static_cast<double>(normal.y), static_cast<double>(normal.z));
        if (!(length > 0) || !std::isfinite(length)) {
            warnings.emplace_back("normals are left out: some of them have no direction");
            return;
        }
        for (float* component : {&normal.x, &normal.y, &normal.z}) {
            *component = static_cast<float>(static_cast<double>(*component) / length);
        }
    }
    attributes.push_back({"NORMAL", vectors(normals)});
}

bool areFinite(const std::vector<float>& values) {
    return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}

/// Colours with a component above 1 count to 255. Alpha goes by itself: 1 may be all of it.
void scaleBytes(std::vector<float>& colors) {
    std::array<float, 2> largest{};
    for (std::size_t i = 0; i < colors.size(); ++i) {
        float& value = largest[i % 4 / 3];
        value = std::max(value, colors[i]);
    }
    for (std::size_t i = 0; i < colors.size(); ++i) {
        colors[i] = largest[i % 4 / 3] > 1 ? colors[i] / 255 : colors[i];
    }
}

void addColors(const aiMesh& mesh, bool mayBeBytes, std::vector<NewAttribute>& attributes,
               std::vector<std::string>& warnings) {
    std::vector<float> colors;
    for (const aiColor4D& color : std::span(mesh.mColors[0], mesh.mNumVertices)) {
        colors.insert(colors.end(), {color.r, color.g, color.b, color.a});
    }
    if (!areFinite(colors)) {
        warnings.emplace_back("colours are left out: some of them are not finite");
        return;
    }
    if (mayBeBytes) {
        scaleBytes(colors);
    }
    for (float& component : colors) {
        component = std::clamp(component, 0.F, 1.F);
    }
    attributes.push_back({"COLOR_0", floatValues("VEC4", colors)});
}

void addTexcoords(const aiMesh& mesh, std::vector<NewAttribute>& attributes, std::vector<std::string>& warnings) {
    std::vector<float> texcoords;
    for (const aiVector3D& texcoord : std::span(mesh.mTextureCoords[0], mesh.mNumVertices)) {
        // glTF counts from the upper edge of a picture.
        texcoords.insert(texcoords.end(), {texcoord.x, 1 - texcoord.y});
    }
    if (!areFinite(texcoords)) {
        warnings.emplace_back("texture coordinates are left out: some of them are not finite");
        return;
    }
    attributes.push_back({"TEXCOORD_0", floatValues("VEC2", texcoords)});
}

std::vector<NewAttribute> attributesOf(const aiMesh& mesh, bool isOff, std::vector<std::string>& warnings) {
    std::vector<NewAttribute> attributes{{"POSITION", vectors(positionsOf(mesh))}};
    if (mesh.HasNormals()) {
        addNormals(mesh, attributes, warnings);
    }
    if (mesh.HasTextureCoords(0)) {
        addTexcoords(mesh, attributes, warnings);
    }
    if (mesh.HasVertexColors(0)) {
        addColors(mesh, isOff, attributes, warnings);
    }
    return attributes;
}

std::vector<NewPrimitive> primitivesOf(const aiMesh& mesh, bool isOff, std::vector<std::string>& warnings) {
    Faces faces = facesOf(mesh, positionsOf(mesh));
    const std::vector<NewAttribute> attributes = attributesOf(mesh, isOff, warnings);
    std::vector<NewPrimitive> primitives;
    for (auto& [type, indices] :
         {std::pair(mesh::TRIANGLES, std::move(faces.triangles)), std::pair(mesh::LINES, std::move(faces.lines)),
          std::pair(mesh::POINTS, std::move(faces.points))}) {
        if (!indices.empty()) {
            primitives.push_back({type, indices, attributes, {}});
        }
    }
    return primitives;
}

using PositionBits = std::array<std::uint32_t, 3>;

struct BitsHash {
    std::size_t operator()(const PositionBits& bits) const {
        std::uint64_t hash = 0;
        for (const std::uint32_t word : bits) {
            hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 32;
        }
        return hash;
    }
};

/// The loose triangles of a mesh, those of its vertices that have the same position being one.
NewPrimitive weld(const aiMesh& mesh) {
    const std::span<const aiVector3D> loose = positionsOf(mesh);
    const Faces faces = facesOf(mesh, loose);
    NewPrimitive primitive;
    std::vector<aiVector3D> positions;
    std::unordered_map<PositionBits, unsigned int, BitsHash> numbers;
    numbers.reserve(loose.size() / 4);
    for (const unsigned int index : faces.triangles) {
        const aiVector3D& position = loose[index];
        const PositionBits bits{std::bit_cast<std::uint32_t>(position.x), std::bit_cast<std::uint32_t>(position.y),
                                std::bit_cast<std::uint32_t>(position.z)};
        const auto [found, isNew] = numbers.try_emplace(bits, static_cast<unsigned int>(positions.size()));
        if (isNew) {
            positions.push_back(position);
        }
        primitive.indices.push_back(found->second);
    }
    primitive.attributes.push_back({"POSITION", vectors(positions)});
    return primitive;
}

} // namespace

Asset readWithAssimp(const Bytes& content, const std::string& extension) {
    const bool isStl = extension == ".stl";
    const std::optional<Bytes> changed = check(content, extension);
    Assimp::Importer importer;
    const aiScene& scene = load(importer, changed ? *changed : content, extension.substr(1));
    AssetBuilder builder;
    std::vector<std::string> warnings;
    for (const aiMesh* mesh : std::span(scene.mMeshes, scene.mNumMeshes)) {
        std::vector<NewPrimitive> primitives;
        if (!isStl) {
            primitives = primitivesOf(*mesh, extension == ".off", warnings);
        } else if (mesh->mNumFaces > 0) {
            primitives.push_back(weld(*mesh));
            if (mesh->HasVertexColors(0)) {
                warnings.emplace_back("the colours of facets are left out");
            }
        }
        if (!primitives.empty()) {
            builder.addMesh(mesh->mName.C_Str(), primitives);
        }
    }
    Asset asset = builder.finish();
    asset.warnings = std::move(warnings);
    return asset;
}

} // namespace vexa::tool
