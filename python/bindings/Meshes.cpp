#include "Arrays.h"
#include "Bindings.h"

#include <vexa/mesh/Faults.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Merge.h>
#include <vexa/mesh/Normals.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/Weld.h>

#include <pybind11/stl.h>

#include <cstring>
#include <optional>
#include <string>

namespace py = pybind11;

namespace vexa::python {

namespace {

using namespace vexa::mesh;

/// Attributes by name, each an array of two dimensions without gaps.
using Attributes = std::vector<std::pair<std::string, py::array>>;

struct FormatCode {
    char kind;
    py::ssize_t size;
    ComponentType type;
};

constexpr FormatCode formatCodes[] = {{'i', 1, BYTE},           {'u', 1, UNSIGNED_BYTE}, {'i', 2, SHORT},
                                      {'u', 2, UNSIGNED_SHORT}, {'i', 4, INT},           {'u', 4, UNSIGNED_INT},
                                      {'f', 4, FLOAT}};

ComponentType componentTypeOf(const py::dtype& format) {
    for (const FormatCode& code : formatCodes) {
        if (code.kind == format.kind() && code.size == format.itemsize()) {
            return code.type;
        }
    }
    throw py::type_error("no attribute can hold " + std::string(py::str(py::handle(format))));
}

py::dtype dtypeOf(ComponentType type) {
    for (const FormatCode& code : formatCodes) {
        if (code.type == type) {
            return py::dtype(std::string(1, code.kind) + std::to_string(code.size));
        }
    }
    throw py::type_error("not a component type: " + std::to_string(type));
}

/// A mesh with copies of arrays.
MeshPtr toMesh(const Array<std::uint32_t>& triangles, const Attributes& attributes) {
    AttributeBuffers buffers;
    for (const auto& [name, values] : attributes) {
        auto buffer = AttributeBuffer::createDefault(componentTypeOf(values.dtype()),
                                                     static_cast<unsigned long>(values.shape(1)), name);
        buffer->resize(static_cast<unsigned long>(values.shape(0)));
        std::memcpy(bytesOf(*buffer).data(), values.data(), static_cast<std::size_t>(values.nbytes()));
        buffers.push_back(std::move(buffer));
    }
    // Indices are not checked here: functions that need them in range do so, and faults of them can be found.
    auto indices = IndexBuffer::createDefault(UNSIGNED_INT);
    assign(*indices, elementsOf(triangles));
    return makeMesh(TRIANGLES, std::move(indices), std::move(buffers));
}

/// Faces and attributes of a mesh with packed buffers.
py::tuple toArrays(const Mesh& mesh) {
    Attributes attributes;
    for (const auto& buffer : attributesOf(mesh)) {
        py::array values(dtypeOf(buffer->getComponentType()),
                         {buffer->getElementCount(), buffer->getComponentCountPerElement()});
        std::memcpy(values.mutable_data(), bytesOf(*buffer).data(), static_cast<std::size_t>(values.nbytes()));
        attributes.emplace_back(buffer->getAttributeName(), std::move(values));
    }
    return py::make_tuple(toArray(toIndices(*mesh.getIndexBuffer())), attributes);
}

py::tuple weldMesh(const Array<std::uint32_t>& triangles, const Attributes& attributes, std::optional<double> tolerance,
                   const std::vector<std::string>& compare) {
    const MeshPtr mesh = toMesh(triangles, attributes);
    WeldResult result;
    {
        const py::gil_scoped_release unlocked;
        result = weld(*mesh, {.tolerance = tolerance, .compare = compare, .indexWidth = IndexWidth::Bits32});
    }
    return py::make_tuple(toArrays(*result.mesh), toArray(std::move(result.remap)));
}

/// \param placements sixteen numbers for each mesh, row by row
py::tuple merge(const std::vector<std::pair<Array<std::uint32_t>, Attributes>>& meshes, const Array<float>& placements,
                bool fillMissing) {
    std::vector<MeshInstance> instances;
    const float* number = placements.data();
    for (const auto& [triangles, attributes] : meshes) {
        MeshInstance instance{toMesh(triangles, attributes)};
        for (int i = 0; i < 16; ++i) {
            instance.placement[i % 4][i / 4] = *number++;
        }
        instances.push_back(std::move(instance));
    }
    MergeOptions options{.indexWidth = IndexWidth::Bits32};
    options.missing = fillMissing ? MissingAttribute::FillWithZeros : MissingAttribute::Throw;
    MeshPtr merged;
    {
        const py::gil_scoped_release unlocked;
        merged = mergeMeshes(instances, options);
    }
    return toArrays(*merged);
}

py::tuple normalsOf(const Array<std::uint32_t>& triangles, const Attributes& attributes, float creaseAngle,
                    bool byArea) {
    const MeshPtr mesh = toMesh(triangles, attributes);
    MeshPtr result;
    {
        const py::gil_scoped_release unlocked;
        result = computeNormals(
            *mesh, {.creaseAngle = creaseAngle, .weighting = byArea ? NormalWeighting::Area : NormalWeighting::Angle});
    }
    return toArrays(*result);
}

/// Code, severity, attribute, total, sites and text of each fault.
py::list faultsOf(const Array<std::uint32_t>& triangles, const Attributes& attributes, std::uint64_t maxSites) {
    const MeshPtr mesh = toMesh(triangles, attributes);
    std::vector<MeshFault> faults;
    {
        const py::gil_scoped_release unlocked;
        faults = findFaults(*mesh, {.maxSites = maxSites});
    }
    py::list list;
    for (const MeshFault& fault : faults) {
        py::list sites;
        for (const FaultSite& site : fault.sites) {
            sites.append(py::make_tuple(site.element, site.value));
        }
        list.append(py::make_tuple(getStringForFaultCode(fault.code), getStringForFaultSeverity(fault.severity),
                                   fault.attribute, fault.total, sites, fault.text));
    }
    return list;
}

} // namespace

void addMeshes(py::module_& module) {
    module.def("weld", &weldMesh);
    module.def("merge", &merge);
    module.def("compute_normals", &normalsOf);
    module.def("find_faults", &faultsOf);
}

} // namespace vexa::python
