#include "vexa/mesh/detail/faults/FaultCollector.h"

#include <algorithm>
#include <cmath>
#include <ios>
#include <locale>
#include <sstream>
#include <utility>

namespace vexa::mesh::detail {
namespace {

// Older standard libraries of LLVM have std::to_chars for integers only.
std::string shortestText(float number, std::ios_base::fmtflags notation) {
    constexpr std::streamsize maxPrecision = 54; // 45 zeros and 9 digits
    std::stringstream stream;
    stream.exceptions(std::ios_base::badbit); // passes on std::bad_alloc, which streams swallow
    stream.imbue(std::locale::classic());
    stream.setf(notation, std::ios_base::floatfield);
    for (std::streamsize precision = 0; precision <= maxPrecision; ++precision) {
        stream.clear();
        stream.str({});
        stream.precision(precision);
        stream << number;
        std::string text = stream.str();
        float readBack = 0;
        stream >> readBack;
        // Some libraries also fail to read a denormal number, but give it. One that is too large becomes the greatest.
        const bool isTooLarge = stream.fail() && std::abs(readBack) > 1;
        if (readBack == number && !isTooLarge) {
            return text;
        }
    }
    return stream.str(); // not a number, or infinite
}

} // namespace

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
    const auto number = static_cast<float>(value);
    const std::string plain = shortestText(number, std::ios_base::fixed);
    const std::string withExponent = shortestText(number, std::ios_base::scientific);
    return plain.size() <= withExponent.size() ? plain : withExponent;
}

} // namespace vexa::mesh::detail
