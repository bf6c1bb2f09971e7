// Reports what is wrong with a model, before and after its vertices are joined.
// usage: findFaults MODEL.stl

#include "readStl.h"

#include <vexa/mesh.h>

#include <algorithm>
#include <iostream>
#include <iterator>

using namespace vexa::mesh;

namespace {

// A line for each kind of fault: "error: 1 of 4104 indices are out of range, first 99999 at 17: ..."
bool check(const Mesh& mesh) {
    const auto faults = findFaults(mesh);
    for (const MeshFault& fault : faults) {
        std::cout << "  " << getStringForFaultSeverity(fault.severity) << ": " << fault.text << '\n';
    }
    return std::ranges::none_of(faults, [](const MeshFault& f) { return f.severity == FaultSeverity::Error; });
}

// Every triangle without an area, for a repair of the program's own.
std::vector<std::uint64_t> findZeroAreaTriangles(const Mesh& mesh) {
    std::vector<std::uint64_t> triangles;
    for (const MeshFault& fault : findFaults(mesh, {.minSeverity = FaultSeverity::Warning, .maxSites = ~0ULL})) {
        if (fault.code == FaultCode::ZeroAreaTriangle) {
            std::ranges::transform(fault.sites, std::back_inserter(triangles), &FaultSite::element);
        }
    }
    return triangles;
}

} // namespace

int main(int, char** argv) {
    const MeshPtr soup = makeMesh(TRIANGLES, nullptr, {makeAttribute("position", readStl(argv[1]))});
    std::cout << "loose triangles\n";
    check(*soup);
    const MeshPtr mesh = weld(*soup).mesh;
    std::cout << "joined\n";
    check(*mesh);
    std::cout << findZeroAreaTriangles(*mesh).size() << " triangles without an area\n";
    indicesOf<std::uint16_t>(*mesh)[17] = 60000;
    std::cout << "damaged\n";
    const bool isUsable = check(*mesh);
    std::cout << (isUsable ? "usable\n" : "not usable\n");
}
