#include "io/gltf/DracoDecoding.h"

#include "base/Errors.h"
#include "io/AssetBuilder.h"
#include "io/gltf/GltfCheck.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/UnusedData.h"

#include <algorithm>
#include <array>
#include <draco/compression/decode.h>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vexa/mesh/Types.h>

namespace vexa::tool {

namespace {

constexpr const char* extension = "KHR_draco_mesh_compression";

class DracoDecoder {
public:
    DracoDecoder(Json& document, std::vector<Bytes>& buffers) : document_(document), buffers_(buffers) {}

    void run() {
        Json& meshes = document_["meshes"];
        for (std::size_t m = 0; m < meshes.size(); ++m) {
            Json& primitives = meshes[m]["primitives"];
            for (std::size_t p = 0; p < primitives.size(); ++p) {
                where_ = elementName(elementName("meshes", m) + ".primitives", p);
                decodePrimitive(primitives[p]);
            }
        }
        // The views of compressed data become those of decoded data, so that nothing is left over.
        for (auto& [index, view] : newViews_) {
            document_["bufferViews"][index] = std::move(view);
        }
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw FormatError(where_ + ".extensions." + extension + " " + what);
    }

    void decodePrimitive(Json& primitive) {
        const Json content = takeExtension(primitive, extension);
        if (content.is_null()) {
            return;
        }
        const std::string here = where_ + ".extensions." + extension;
        if (!content.is_object()) {
            fail("is not an object");
        }
        if (const auto mode = primitive.value("mode", static_cast<int>(mesh::TRIANGLES));
            mode != mesh::TRIANGLES && mode != mesh::TRIANGLE_STRIP) {
            fail("compresses a primitive that does not consist of triangles");
        }
        const std::size_t view = indexMember(content, "bufferView", here, document_["bufferViews"].size());
        const draco::Mesh& mesh = meshOf(view);
        for (const auto& [name, id] : objectMember(content, "attributes", here).items()) {
            const auto accessor = primitive["attributes"].find(name);
            if (accessor == primitive["attributes"].end() || !id.is_number_unsigned()) {
                fail("names an attribute " + name + " that the primitive does not have");
            }
            const draco::PointAttribute* attribute = mesh.GetAttributeByUniqueId(id.get<std::uint32_t>());
            if (attribute == nullptr) {
                fail("names the attribute " + id.dump() + ", which its data does not hold");
            }
            const auto source = std::pair(view, id.get<std::int64_t>());
            *accessor = place(accessor->get<std::size_t>(), source,
                              [&](Json& target) { return values(mesh, *attribute, target); });
        }
        if (!primitive.contains("indices")) {
            primitive["indices"] = document_["accessors"].size();
            document_["accessors"].push_back({{"componentType", mesh::UNSIGNED_BYTE}, {"type", "SCALAR"}});
        }
        primitive["mode"] = mesh::TRIANGLES;
        primitive["indices"] = place(primitive["indices"].get<std::size_t>(), std::pair(view, std::int64_t{-1}),
                                     [&](Json& target) { return indices(mesh, target); });
    }

    const draco::Mesh& meshOf(std::size_t index) {
        std::unique_ptr<draco::Mesh>& mesh = meshes_[index];
        if (!mesh) {
            const Json& view = document_["bufferViews"][index];
            const Bytes& buffer = buffers_.at(view["buffer"].get<std::size_t>());
            const std::size_t offset = view.value("byteOffset", std::size_t{0});
            const auto length = view["byteLength"].get<std::size_t>();
            if (offset > buffer.size() || length > buffer.size() - offset) {
                fail("reaches beyond its buffer");
            }
            draco::DecoderBuffer data;
            data.Init(reinterpret_cast<const char*>(buffer.data() + offset), length);
            draco::Decoder decoder;
            auto decoded = decoder.DecodeMeshFromBuffer(&data);
            if (!decoded.ok()) {
                fail("is damaged: " + decoded.status().error_msg_string());
            }
            mesh = std::move(decoded).value();
            if (mesh->num_faces() == 0 || mesh->num_points() == 0) {
                fail("holds no triangles");
            }
        }
        return *mesh;
    }

    /// Gives an accessor its decoded data. One that several primitives share is decoded once if they mean the same.
    ///
    /// \return the accessor; another one if this one is taken by other data
    template <typename Decode>
    std::size_t place(std::size_t accessor, const std::pair<std::size_t, std::int64_t>& source, const Decode& decode) {
        Json& accessors = document_["accessors"];
        const auto [entry, isNew] = placed_.try_emplace({accessor, source}, accessor);
        if (!isNew) {
            return entry->second;
        }
        if (!taken_.insert(accessor).second) {
            accessors.push_back(accessors[accessor]);
            entry->second = accessors.size() - 1;
        }
        Json& target = accessors[entry->second];
        for (const char* member : {"bufferView", "byteOffset", "sparse"}) {
            target.erase(member);
        }
        target["bufferView"] = addView(decode(target), source.first);
        return entry->second;
    }

    std::size_t addView(std::pair<Bytes, std::size_t> data, std::size_t compressed) {
        Json view = {{"buffer", buffers_.size()}, {"byteLength", data.first.size()}};
        if (data.second != 0) {
            view["byteStride"] = data.second;
        }
        document_["buffers"].push_back({{"byteLength", data.first.size()}});
        buffers_.push_back(std::move(data.first));
        if (newViews_.try_emplace(compressed, view).second) {
            return compressed;
        }
        document_["bufferViews"].push_back(std::move(view));
        return document_["bufferViews"].size() - 1;
    }

    /// \return the bytes, and their stride where the elements are not tightly packed
    std::pair<Bytes, std::size_t> values(const draco::Mesh& mesh, const draco::PointAttribute& attribute,
                                         Json& accessor) const {
        accessor["count"] = mesh.num_points();
        switch (accessor["componentType"].get<int>()) {
        case mesh::BYTE:
            return valuesAs<std::int8_t>(mesh, attribute, accessor);
        case mesh::UNSIGNED_BYTE:
            return valuesAs<std::uint8_t>(mesh, attribute, accessor);
        case mesh::SHORT:
            return valuesAs<std::int16_t>(mesh, attribute, accessor);
        case mesh::UNSIGNED_SHORT:
            return valuesAs<std::uint16_t>(mesh, attribute, accessor);
        case mesh::UNSIGNED_INT:
            return valuesAs<std::uint32_t>(mesh, attribute, accessor);
        default:
            return valuesAs<float>(mesh, attribute, accessor);
        }
    }

    template <typename T>
    std::pair<Bytes, std::size_t> valuesAs(const draco::Mesh& mesh, const draco::PointAttribute& attribute,
                                           Json& accessor) const {
        const std::size_t components = componentCount(stringMember(accessor, "type"));
        if (components > 4) {
            fail("holds a matrix");
        }
        const std::size_t size = components * sizeof(T);
        const std::size_t stride = (size + 3) / 4 * 4;
        Bytes bytes(mesh.num_points() * stride);
        std::vector<T> least(components);
        std::vector<T> greatest(components);
        for (std::uint32_t i = 0; i < mesh.num_points(); ++i) {
            std::array<T, 4> value{};
            if (!attribute.ConvertValue(attribute.mapped_index(draco::PointIndex(i)),
                                        static_cast<std::int8_t>(components), value.data())) {
                fail("holds values that do not fit their accessor");
            }
            std::memcpy(bytes.data() + i * stride, value.data(), size);
            for (std::size_t c = 0; c < components; ++c) {
                least[c] = i == 0 ? value.at(c) : std::min(least[c], value.at(c));
                greatest[c] = i == 0 ? value.at(c) : std::max(greatest[c], value.at(c));
            }
        }
        // Compression moves values a little, also the outermost.
        if (accessor.contains("min") && accessor.contains("max")) {
            accessor["min"] = least;
            accessor["max"] = greatest;
        }
        return {std::move(bytes), stride == size ? 0 : stride};
    }

    static std::pair<Bytes, std::size_t> indices(const draco::Mesh& mesh, Json& accessor) {
        constexpr std::uint32_t maxByte = 255;
        constexpr std::uint32_t maxShort = 65535;
        // The declared type may be too narrow.
        auto type = accessor["componentType"].get<mesh::ComponentType>();
        const std::uint32_t last = mesh.num_points() - 1;
        type = last >= maxShort                                 ? mesh::UNSIGNED_INT
               : last >= maxByte && type == mesh::UNSIGNED_BYTE ? mesh::UNSIGNED_SHORT
                                                                : type;
        std::vector<unsigned int> indices;
        indices.reserve(std::size_t{mesh.num_faces()} * 3);
        for (draco::FaceIndex face(0); face < mesh.num_faces(); ++face) {
            for (const draco::PointIndex& point : mesh.face(face)) {
                indices.push_back(point.value());
            }
        }
        Bytes bytes;
        appendIndices(bytes, indices, type);
        accessor["componentType"] = type;
        accessor["count"] = indices.size();
        accessor.erase("min");
        accessor.erase("max");
        return {std::move(bytes), 0};
    }

    Json& document_;
    std::vector<Bytes>& buffers_;
    std::string where_;
    std::map<std::size_t, std::unique_ptr<draco::Mesh>> meshes_; ///< per buffer view
    std::map<std::size_t, Json> newViews_;                       ///< that take the places of compressed ones
    std::map<std::pair<std::size_t, std::pair<std::size_t, std::int64_t>>, std::size_t> placed_;
    std::set<std::size_t> taken_; ///< accessors that have their data
};

} // namespace

void decodeDraco(Json& document, std::vector<Bytes>& buffers, std::vector<std::string>& warnings) {
    if (document.contains("meshes") && document.contains("bufferViews")) {
        // The file may also hold the uncompressed data.
        const UsedData used(document);
        DracoDecoder(document, buffers).run();
        used.removeUnused(document);
    }
    dropCompression(document, extension, warnings);
}

} // namespace vexa::tool
