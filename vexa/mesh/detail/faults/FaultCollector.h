#pragma once

#include "vexa/mesh/Faults.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vexa::mesh::detail {

/// The sites of one kind of fault: the first few, and the number of all.
class FaultSites {
public:
    explicit FaultSites(std::uint64_t maxSites) : maxSites_(maxSites) {}

    void add(std::uint64_t element, double value) {
        if (total_++ < maxSites_) {
            sites_.push_back({element, value});
        }
        first_ = total_ == 1 ? FaultSite{element, value} : first_;
    }

    [[nodiscard]] std::uint64_t total() const { return total_; }
    [[nodiscard]] const FaultSite& first() const { return first_; }
    [[nodiscard]] const std::vector<FaultSite>& sites() const { return sites_; }

private:
    std::uint64_t maxSites_;
    std::uint64_t total_ = 0;
    FaultSite first_;
    std::vector<FaultSite> sites_;
};

/// Collects the faults of a mesh.
class FaultCollector {
public:
    explicit FaultCollector(const FaultOptions& options) : options_(options) {}

    [[nodiscard]] const FaultOptions& options() const { return options_; }
    /// Whether faults of a severity are looked for.
    [[nodiscard]] bool wants(FaultSeverity severity) const { return severity >= options_.minSeverity; }
    [[nodiscard]] FaultSites sites() const { return FaultSites(options_.maxSites); }

    /// Adds a fault unless it has no sites or is not looked for.
    void add(FaultCode code, FaultSeverity severity, const FaultSites& sites, const std::string& text,
             const std::string& attribute = {});

    /// The faults, the worst first.
    [[nodiscard]] std::vector<MeshFault> take();

private:
    FaultOptions options_;
    std::vector<MeshFault> faults_;
};

/// "1 edge has", "2 edges have"
std::string countedText(std::uint64_t count, const std::string& one, const std::string& many);
/// A number as a float, rounded to the fewest digits that read back as the same float: plain or with an exponent,
/// whichever is shorter. The same in every locale and with every standard library.
std::string numberText(double value);

} // namespace vexa::mesh::detail
