#include "vexa/mesh/detail/faults/FaultCollector.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <utility>

namespace vexa::mesh::detail {

void FaultCollector::add(FaultCode code, FaultSeverity severity, const FaultSites& sites, const std::string& text,
                         const std::string& attribute) {
    if (sites.total() > 0 && wants(severity)) {
        faults_.push_back({code, severity, attribute, sites.total(), sites.sites(), text});
    }
}

std::vector<MeshFault> FaultCollector::take() {
    std::stable_sort(faults_.begin(), faults_.end(), [](const MeshFault& a, const MeshFault& b) {
        return a.severity != b.severity ? a.severity > b.severity : a.code < b.code;
    });
    return std::move(faults_);
}

std::string countedText(std::uint64_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string numberText(double value) {
    std::array<char, 32> digits{};
#ifdef __cpp_lib_to_chars
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<float>(value)).ptr;
    return {digits.data(), end};
#else
    // Older standard libraries of LLVM have it for integers only.
    std::snprintf(digits.data(), digits.size(), "%.9g", static_cast<double>(static_cast<float>(value)));
    return digits.data();
#endif
}

} // namespace vexa::mesh::detail
