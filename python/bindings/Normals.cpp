#include "Arrays.h"
#include "Bindings.h"

#include <vexa/mesh/NormalQuantization.h>

namespace py = pybind11;

namespace vexa::python {

namespace {

using mesh::dequantizeNormal;
using mesh::quantizeNormal;

/// \param normals three floats for each normal
/// \return two bytes for each
Array<unsigned char> packNormals(const Array<float>& normals) {
    std::vector<unsigned char> packed(static_cast<std::size_t>(normals.size()) / 3 * 2);
    {
        const py::gil_scoped_release unlocked;
        const float* from = normals.data();
        for (std::size_t i = 0; i < packed.size(); i += 2, from += 3) {
            glm::vec3 normal(from[0], from[1], from[2]);
            quantizeNormal(&normal, &packed[i]);
        }
    }
    return toArray(std::move(packed));
}

/// \param packed two bytes for each normal
/// \return three floats for each
Array<float> unpackNormals(const Array<unsigned char>& packed) {
    std::vector<float> normals;
    {
        const py::gil_scoped_release unlocked;
        normals.resize(static_cast<std::size_t>(packed.size()) / 2 * 3);
        const unsigned char* from = packed.data();
        for (std::size_t i = 0; i < normals.size(); i += 3, from += 2) {
            unsigned char code[2] = {from[0], from[1]};
            glm::vec3 normal;
            dequantizeNormal(code, &normal);
            normals[i] = normal.x;
            normals[i + 1] = normal.y;
            normals[i + 2] = normal.z;
        }
    }
    return toArray(std::move(normals));
}

} // namespace

void addNormals(py::module_& module) {
    module.def("pack_normals", &packNormals);
    module.def("unpack_normals", &unpackNormals);
}

} // namespace vexa::python
