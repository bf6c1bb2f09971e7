#include "TriangleCheck.h"
#include "peers/Peers.h"

#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#include <OpenMesh/Tools/Utils/StripifierT.hh>
#include <memory>

namespace bench {

namespace {

using Mesh = OpenMesh::TriMesh_ArrayKernelT<>;
using Stripifier = OpenMesh::StripifierT<Mesh>;

/// The stripifier refers to the mesh.
struct MeshWithStrips {
    std::unique_ptr<Mesh> mesh;
    std::unique_ptr<Stripifier> stripifier;
};

unsigned int indexOf(OpenMesh::VertexHandle vertex) {
    return static_cast<unsigned int>(vertex.idx());
}

std::unique_ptr<Mesh> buildMesh(const Model& model) {
    auto mesh = std::make_unique<Mesh>();
    mesh->reserve(model.vertexCount(), model.triangleCount() + model.vertexCount(), model.triangleCount());
    for (std::size_t i = 0; i < model.vertexCount(); ++i) {
        mesh->new_vertex();
    }
    const auto handle = [](unsigned int index) { return OpenMesh::VertexHandle(static_cast<int>(index)); };
    const unsigned int* const t = model.triangles.data();
    for (std::size_t i = 0; i < model.triangles.size(); i += 3) {
        mesh->add_face(handle(t[i]), handle(t[i + 1]), handle(t[i + 2]));
    }
    return mesh;
}

std::vector<unsigned int> trianglesOf(const Mesh& mesh) {
    std::vector<unsigned int> triangles;
    for (const auto face : mesh.faces()) {
        for (auto corner = mesh.cfv_ccwiter(face); corner.is_valid(); ++corner) {
            triangles.push_back(indexOf(*corner));
        }
    }
    return triangles;
}

Output inspectStrips(const Model& model, const Stripifier& stripifier) {
    Output output;
    std::vector<unsigned int> triangles;
    std::vector<vexa::mesh::IndexedPrimitive> strips;
    for (const std::vector<unsigned int>& strip : stripifier) {
        output.indices += strip.size();
        appendStrip(triangles, strip);
        strips.push_back({vexa::mesh::TRIANGLE_STRIP, strip});
    }
    output.joined = joinPlainly(strips);
    output.bytes = output.indices * sizeof(unsigned int) + stripifier.n_strips() * sizeof(Stripifier::Strip);
    output.error = compareTriangles(model.triangles, triangles);
    return output;
}

std::vector<unsigned int> edgesOf(const Mesh& mesh) {
    std::vector<unsigned int> lines;
    lines.reserve(2 * mesh.n_edges());
    for (const auto edge : mesh.edges()) {
        const auto halfEdge = mesh.halfedge_handle(edge, 0);
        lines.push_back(indexOf(mesh.from_vertex_handle(halfEdge)));
        lines.push_back(indexOf(mesh.to_vertex_handle(halfEdge)));
    }
    return lines;
}

Contender peerOn(const Model& model) {
    // It prints a line for every face that it rejects; the check of the output counts those anyway.
    omerr().disable();
    Contender contender;
    contender.role = Role::Peer;
    contender.elements = static_cast<double>(model.triangleCount());
    return contender;
}

} // namespace

Contender openMeshAdjacency(const ModelPtr& model) {
    const auto mesh = std::make_shared<std::unique_ptr<Mesh>>();
    Contender contender = peerOn(*model);
    contender.name = "OpenMesh";
    contender.prepare = [mesh] { mesh->reset(); };
    contender.run = [model, mesh] { *mesh = buildMesh(*model); };
    contender.inspect = [model, mesh] { return Output{0, 0, compareTriangles(model->triangles, trianglesOf(**mesh))}; };
    return contender;
}

Contender openMeshStrips(const ModelPtr& model) {
    const auto strips = std::make_shared<MeshWithStrips>();
    Contender contender = peerOn(*model);
    contender.name = "OpenMesh";
    contender.prepare = [strips] { *strips = {}; };
    contender.run = [model, strips] {
        strips->mesh = buildMesh(*model);
        strips->stripifier = std::make_unique<Stripifier>(*strips->mesh);
        strips->stripifier->stripify();
    };
    contender.inspect = [model, strips] { return inspectStrips(*model, *strips->stripifier); };
    return contender;
}

Contender openMeshStripsOfMesh(const ModelPtr& model) {
    const std::shared_ptr<Mesh> mesh = buildMesh(*model);
    const auto stripifier = std::make_shared<Stripifier>(*mesh);
    Contender contender = peerOn(*model);
    contender.name = "OpenMesh, mesh prebuilt";
    contender.role = Role::Part;
    contender.prepare = [stripifier] { stripifier->clear(); };
    contender.run = [mesh, stripifier] { stripifier->stripify(); };
    contender.inspect = [model, stripifier] { return inspectStrips(*model, *stripifier); };
    return contender;
}

Contender openMeshAdjacencyAndEdges(const ModelPtr& model) {
    const auto lines = std::make_shared<std::vector<unsigned int>>();
    Contender contender = peerOn(*model);
    contender.name = "OpenMesh";
    contender.elements = static_cast<double>(buildMesh(*model)->n_edges());
    contender.prepare = [lines] { std::vector<unsigned int>().swap(*lines); };
    contender.run = [model, lines] { *lines = edgesOf(*buildMesh(*model)); };
    contender.inspect = [lines] { return Output{lines->size(), lines->size() * sizeof(unsigned int), {}}; };
    return contender;
}

Contender openMeshEdges(const ModelPtr& model) {
    const std::shared_ptr<Mesh> mesh = buildMesh(*model);
    const auto lines = std::make_shared<std::vector<unsigned int>>();
    Contender contender = peerOn(*model);
    contender.name = "OpenMesh, mesh prebuilt";
    contender.role = Role::Part;
    contender.elements = static_cast<double>(mesh->n_edges());
    contender.prepare = [lines] { std::vector<unsigned int>().swap(*lines); };
    contender.run = [mesh, lines] { *lines = edgesOf(*mesh); };
    contender.inspect = [lines] { return Output{lines->size(), lines->size() * sizeof(unsigned int), {}}; };
    return contender;
}

} // namespace bench
