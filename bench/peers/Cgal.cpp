#include "TriangleCheck.h"
#include "peers/Peers.h"

#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/boost/graph/Euler_operations.h>
#include <array>
#include <memory>

namespace bench {

namespace {

using Mesh = CGAL::Surface_mesh<CGAL::Simple_cartesian<float>::Point_3>;
using Vertex = Mesh::Vertex_index;

std::unique_ptr<Mesh> makeVertices(const Model& model) {
    auto mesh = std::make_unique<Mesh>();
    const auto vertices = static_cast<Mesh::size_type>(model.vertexCount());
    const auto triangles = static_cast<Mesh::size_type>(model.triangleCount());
    mesh->reserve(vertices, triangles + vertices, triangles);
    for (Mesh::size_type i = 0; i < vertices; ++i) {
        mesh->add_vertex();
    }
    return mesh;
}

std::unique_ptr<Mesh> buildMesh(const Model& model) {
    auto mesh = makeVertices(model);
    const unsigned int* const t = model.triangles.data();
    for (std::size_t i = 0; i < model.triangles.size(); i += 3) {
        mesh->add_face(Vertex(t[i]), Vertex(t[i + 1]), Vertex(t[i + 2]));
    }
    return mesh;
}

std::unique_ptr<Mesh> buildMeshAtOnce(const Model& model) {
    auto mesh = makeVertices(model);
    std::vector<std::array<Vertex, 3>> faces(model.triangleCount());
    const unsigned int* const t = model.triangles.data();
    for (std::size_t i = 0; i < faces.size(); ++i) {
        faces[i] = {Vertex(t[3 * i]), Vertex(t[3 * i + 1]), Vertex(t[3 * i + 2])};
    }
    CGAL::Euler::add_faces(faces, *mesh);
    return mesh;
}

std::vector<unsigned int> trianglesOf(const Mesh& mesh) {
    std::vector<unsigned int> triangles;
    for (const auto face : mesh.faces()) {
        for (const auto vertex : mesh.vertices_around_face(mesh.halfedge(face))) {
            triangles.push_back(vertex);
        }
    }
    return triangles;
}

Contender adjacencyBy(std::unique_ptr<Mesh> (*build)(const Model&), const ModelPtr& model) {
    const auto mesh = std::make_shared<std::unique_ptr<Mesh>>();
    Contender contender;
    contender.role = Role::Peer;
    contender.elements = static_cast<double>(model->triangleCount());
    contender.prepare = [mesh] { mesh->reset(); };
    contender.run = [build, model, mesh] { *mesh = build(*model); };
    contender.inspect = [model, mesh] { return Output{0, 0, compareTriangles(model->triangles, trianglesOf(**mesh))}; };
    return contender;
}

} // namespace

Contender cgalAdjacency(const ModelPtr& model) {
    Contender contender = adjacencyBy(buildMesh, model);
    contender.name = "CGAL Surface_mesh";
    return contender;
}

Contender cgalBatchAdjacency(const ModelPtr& model) {
    Contender contender = adjacencyBy(buildMeshAtOnce, model);
    contender.name = "CGAL Surface_mesh, one call";
    return contender;
}

} // namespace bench
