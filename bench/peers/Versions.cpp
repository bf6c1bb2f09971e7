#include "peers/Peers.h"

#include <CGAL/version.h>
#include <OpenMesh/Core/System/config.h>
#include <meshoptimizer.h>

namespace bench {

std::vector<std::pair<std::string, std::string>> peerVersions() {
    const auto dotted = [](int major, int minor) { return std::to_string(major) + "." + std::to_string(minor); };
#ifdef BENCH_VTK
    const char* const vtk = BENCH_VTK;
#else
    const char* const vtk = "not installed";
#endif
    return {{"meshoptimizer", dotted(MESHOPTIMIZER_VERSION / 1000, MESHOPTIMIZER_VERSION / 10 % 100)},
            {"OpenMesh", dotted(OM_GET_VER, OM_GET_MAJ)},
            {"CGAL", CGAL_VERSION_STR},
            {"VTK", vtk}};
}

} // namespace bench
