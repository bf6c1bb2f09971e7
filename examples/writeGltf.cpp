// Writes a mesh as the only primitive of a glTF 2 file: interleaved vertices, strips, bounds.
// usage: writeGltf MODEL.obj OUTPUT.gltf

#include "ObjFile.h"

#include <vexa/mesh.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <span>
#include <sstream>
#include <string>

using namespace vexa::mesh;

namespace {

/// "position" is "POSITION" in glTF; "TEXCOORD_0" stays.
std::string gltfName(const std::string& name) {
    return name == "position" ? "POSITION" : name == "normal" ? "NORMAL" : name;
}

std::string text(const glm::vec3& v) {
    std::ostringstream text;
    text.precision(9);
    text << '[' << v.x << ", " << v.y << ", " << v.z << ']';
    return text.str();
}

/// The JSON and the binary part of a file.
class GltfFile {
public:
    explicit GltfFile(const std::string& path) : path_(path), bin_(path + ".bin", std::ios::binary) {}

    void addPrimitive(const MeshPtr& mesh) {
        const auto attributes = interleave(attributesOf(*mesh)); // 4-byte aligned, one view
        addView(bytesOf(*attributes.front()), attributes.front()->getElementStrideInBytes(), 34962);
        glm::detail::taabb<float> box{};
        computeVolume(box, mesh, glm::mat4(1.0F));
        std::string names;
        for (const auto& attribute : attributes) {
            const bool isPosition = attribute->getAttributeName() == "position";
            names += (names.empty() ? "\"" : ", \"") + gltfName(attribute->getAttributeName()) +
                     "\": " + std::to_string(accessorCount_);
            const unsigned long count = attribute->getComponentCountPerElement();
            addAccessor(*attribute, 0, count == 1 ? "SCALAR" : "VEC" + std::to_string(count),
                        isPosition ? ", \"min\": " + text(box.min) + ", \"max\": " + text(box.max) : "");
        }
        std::string indices;
        if (const auto buffer = mesh->getIndexBuffer()) {
            indices = ", \"indices\": " + std::to_string(accessorCount_);
            addView(bytesOf(*buffer), 0, 34963);
            addAccessor(*buffer, 1, "SCALAR", "");
        }
        // Component and primitive types of the library are the codes of glTF.
        primitive_ =
            "{\"mode\": " + std::to_string(mesh->getPrimitiveType()) + indices + ", \"attributes\": {" + names + "}}";
    }

    void finish() {
        std::ofstream json(path_);
        json << "{\"asset\": {\"version\": \"2.0\"}, \"scene\": 0, \"scenes\": [{\"nodes\": [0]}],\n"
             << "\"nodes\": [{\"mesh\": 0}], \"meshes\": [{\"primitives\": [" << primitive_ << "]}],\n"
             << "\"buffers\": [{\"uri\": \"" << path_.substr(path_.find_last_of('/') + 1)
             << ".bin\", \"byteLength\": " << size_ << "}],\n\"bufferViews\": [" << views_ << "],\n\"accessors\": ["
             << accessors_ << "]}\n";
    }

private:
    void addView(std::span<const std::byte> bytes, unsigned long stride, int target) {
        bin_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        views_ += (views_.empty() ? "" : ",\n") + std::string("{\"buffer\": 0, \"byteOffset\": ") +
                  std::to_string(size_) + ", \"byteLength\": " + std::to_string(bytes.size()) +
                  (stride == 0 ? "" : ", \"byteStride\": " + std::to_string(stride)) +
                  ", \"target\": " + std::to_string(target) + "}";
        size_ += bytes.size();
    }

    void addAccessor(const Buffer& buffer, int view, const std::string& type, const std::string& bounds) {
        accessors_ += (accessors_.empty() ? "" : ",\n") + std::string("{\"bufferView\": ") + std::to_string(view) +
                      ", \"byteOffset\": " + std::to_string(buffer.getElementOffsetInBytes()) +
                      ", \"componentType\": " + std::to_string(buffer.getComponentType()) +
                      ", \"count\": " + std::to_string(buffer.getElementCount()) + ", \"type\": \"" + type + "\"" +
                      bounds + "}";
        ++accessorCount_;
    }

    std::string path_;
    std::ofstream bin_;
    std::string primitive_;
    std::string views_;
    std::string accessors_;
    std::size_t accessorCount_ = 0;
    std::size_t size_ = 0;
};

} // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: writeGltf MODEL.obj OUTPUT.gltf\n";
        return 2;
    }
    const ObjFile model(argv[1]);
    // glTF allows restart indices by an extension only, so strips are joined by degenerate triangles.
    const auto strip = buildStripBuffer(model.triangles, {.join = StripJoin::Degenerate});
    const MeshPtr mesh = makeMesh(TRIANGLE_STRIP, strip,
                                  {makeAttribute("position", model.positions), makeAttribute("normal", model.normals),
                                   makeAttribute("TEXCOORD_0", model.texcoords)});
    GltfFile file(argv[2]);
    file.addPrimitive(mesh);
    file.finish();
    std::cout << model.positions.size() << " vertices, " << strip.size() << " indices\n";
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
