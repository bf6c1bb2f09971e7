#include "cases/Cases.h"
#include "cases/OwnContenders.h"
#include "peers/Peers.h"

#include <cmath>
#include <string>
#include <unistd.h>

namespace bench {

namespace {

/// Bytes per triangle that a comparison needs at its peak, as the results of all contenders are in memory together.
constexpr double bytesPerTriangle = 600;

bool fits(double triangleCount) {
    const auto available = static_cast<double>(sysconf(_SC_AVPHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    return triangleCount * bytesPerTriangle < available / 2; // others may need memory too
}

Comparison compareAt(const std::string& name, double triangleCount) {
    const ModelPtr mesh = makeIrregularGrid(name, static_cast<unsigned int>(std::lround(std::sqrt(triangleCount / 2))));
    Comparison comparison{name, "triangle", false, triangleCount >= 1e5, triangleCount > 2e6 ? 1 : 3, {}};
    comparison.contenders = {buildPrimitivesContender(names::build, mesh, {}), addTrianglesContender(names::add, mesh),
                             graphContender(names::graph, mesh, 1), meshoptimizerStrips(mesh)};
    return comparison;
}

} // namespace

std::vector<Case> growthCases() {
    std::vector<Case> cases;
    for (const double triangleCount : {1e3, 3e3, 1e4, 3e4, 1e5, 3e5, 1e6, 3e6, 1e7, 3e7}) {
        if (fits(triangleCount)) {
            const std::string name = "growth/" + std::to_string(std::lround(triangleCount));
            cases.push_back({name, true, [name, triangleCount] { return compareAt(name, triangleCount); }});
        }
    }
    return cases;
}

} // namespace bench
