#include "ops/WeldClasses.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <string_view>

namespace vexa::tool {

namespace {

std::string_view elementBytes(const AccessorData& values, std::size_t index) {
    const std::size_t size = values.elementSize();
    return {reinterpret_cast<const char*>(values.bytes.data() + index * size), size};
}

std::size_t combined(std::size_t seed, std::size_t value) {
    return (seed ^ value) * 0x9e3779b97f4a7c15U + (seed >> 29U);
}

/// Size of a hash table that is at most half full.
std::size_t tableSize(std::size_t count) {
    constexpr std::size_t smallest = 16;
    return std::max(smallest, std::bit_ceil(2 * count));
}

/// The cell of a grid, and the kind of the vertices in it. Cells are numbered in double precision: the coordinates of
/// tiny ones do not fit an integer.
struct Cell {
    std::array<double, 3> place{};
    std::uint32_t kind = 0;

    bool operator==(const Cell&) const = default;
};

std::size_t hashOf(const Cell& cell) {
    std::size_t result = cell.kind;
    for (const double value : cell.place) {
        result = combined(result, std::bit_cast<std::uint64_t>(value));
    }
    return result;
}

/// Numbers cells in the order in which they are added.
class CellNumbers {
public:
    explicit CellNumbers(std::size_t maxCount) : table_(tableSize(maxCount), none) {}

    static constexpr std::uint32_t none = 0xffffffff;

    std::uint32_t add(const Cell& cell) {
        std::uint32_t& slot = table_[slotOf(cell)];
        if (slot == none) {
            slot = static_cast<std::uint32_t>(cells_.size());
            cells_.push_back(cell);
        }
        return slot;
    }

    /// \return `none` if it was not added
    [[nodiscard]] std::uint32_t find(const Cell& cell) const { return table_[slotOf(cell)]; }

    [[nodiscard]] const std::vector<Cell>& cells() const { return cells_; }

private:
    [[nodiscard]] std::size_t slotOf(const Cell& cell) const {
        std::size_t slot = hashOf(cell) >> 17U & (table_.size() - 1);
        while (table_[slot] != none && !(cells_[table_[slot]] == cell)) {
            slot = (slot + 1) & (table_.size() - 1);
        }
        return slot;
    }

    std::vector<Cell> cells_;
    std::vector<std::uint32_t> table_;
};

class NearVertices {
public:
    NearVertices(const AccessorData& positions, const std::vector<std::uint32_t>& kinds, double tolerance)
        : positions_(positions), kinds_(kinds), tolerance_(tolerance < minDistance ? 0 : tolerance),
          first_(positions.count), numbers_(positions.count) {
        std::iota(first_.begin(), first_.end(), 0U);
    }

    std::vector<std::uint32_t> find() {
        fillCells();
        for (std::uint32_t cell = 0; tolerance_ > 0 && cell < members_.size(); ++cell) {
            joinNeighbours(cell);
        }
        for (std::uint32_t v = 0; v < first_.size(); ++v) {
            first_[v] = firstOf(v);
        }
        return std::move(first_);
    }

private:
    using Position = std::array<double, 3>;

    /// Of different floats. Below it, the numbers of cells could become infinite.
    static constexpr double minDistance = std::numeric_limits<float>::denorm_min();

    [[nodiscard]] Position positionOf(std::uint32_t v) const {
        std::array<float, 3> position{};
        std::memcpy(position.data(), positions_.bytes.data() + v * sizeof position, sizeof position);
        // Without the sign of a zero.
        return {static_cast<double>(position[0]) + 0.0, static_cast<double>(position[1]) + 0.0,
                static_cast<double>(position[2]) + 0.0};
    }

    /// The diagonal of a cell is just below the tolerance.
    [[nodiscard]] double side() const { return tolerance_ / std::sqrt(3.0) * (1 - 1e-9); }

    /// All of a cell are near one another.
    void fillCells() {
        for (std::uint32_t v = 0; v < first_.size(); ++v) {
            Position place = positionOf(v);
            if (!std::all_of(place.begin(), place.end(), [](double value) { return std::isfinite(value); })) {
                continue;
            }
            if (tolerance_ > 0) {
                for (double& value : place) {
                    value = std::floor(value / side()) + 0.0;
                }
            }
            const std::uint32_t cell = numbers_.add({place, kinds_[v]});
            if (cell == members_.size()) {
                members_.emplace_back();
            }
            // Of equal positions, one is enough to compare with.
            if (members_[cell].empty() || positionOf(members_[cell].back()) != positionOf(v)) {
                members_[cell].push_back(v);
            }
            join(v, members_[cell].front());
        }
    }

    void joinNeighbours(std::uint32_t cell) {
        // Two cells of that size reach further than the tolerance. The other half looks at this cell itself.
        constexpr int reach = 2;
        for (int x = 0; x <= reach; ++x) {
            for (int y = x == 0 ? 0 : -reach; y <= reach; ++y) {
                for (int z = x == 0 && y == 0 ? 1 : -reach; z <= reach; ++z) {
                    const auto& [place, kind] = numbers_.cells()[cell];
                    const std::uint32_t other =
                        numbers_.find({{place[0] + x + 0.0, place[1] + y + 0.0, place[2] + z + 0.0}, kind});
                    if (other != CellNumbers::none) {
                        joinIfNear(members_[cell], members_[other]);
                    }
                }
            }
        }
    }

    void joinIfNear(const std::vector<std::uint32_t>& cell, const std::vector<std::uint32_t>& other) {
        if (firstOf(cell.front()) == firstOf(other.front())) {
            return;
        }
        for (const std::uint32_t a : cell) {
            const Position position = positionOf(a);
            const bool isNear = std::any_of(other.begin(), other.end(), [&](std::uint32_t b) {
                const Position p = positionOf(b);
                return std::hypot(p[0] - position[0], p[1] - position[1], p[2] - position[2]) <= tolerance_;
            });
            if (isNear) {
                join(a, other.front());
                return;
            }
        }
    }

    std::uint32_t firstOf(std::uint32_t v) {
        while (first_[v] != v) {
            first_[v] = first_[first_[v]];
            v = first_[v];
        }
        return v;
    }

    void join(std::uint32_t a, std::uint32_t b) {
        const auto [low, high] = std::minmax({firstOf(a), firstOf(b)});
        first_[high] = low;
    }

    const AccessorData& positions_;
    const std::vector<std::uint32_t>& kinds_;
    double tolerance_;
    std::vector<std::uint32_t> first_; ///< on the way to the first vertex of the class
    CellNumbers numbers_;
    std::vector<std::vector<std::uint32_t>> members_; ///< by cell
};

} // namespace

std::vector<std::uint32_t> firstEqual(const std::vector<const AccessorData*>& values, std::size_t count) {
    std::vector<std::uint32_t> first(count);
    constexpr std::uint32_t free = 0xffffffff;
    std::vector<std::uint32_t> table(tableSize(count), free);
    const auto areEqual = [&](std::size_t a, std::size_t b) {
        return std::all_of(values.begin(), values.end(),
                           [&](const AccessorData* data) { return elementBytes(*data, a) == elementBytes(*data, b); });
    };
    for (std::uint32_t v = 0; v < count; ++v) {
        std::size_t slot = 0;
        for (const AccessorData* data : values) {
            slot = combined(slot, std::hash<std::string_view>()(elementBytes(*data, v)));
        }
        slot = slot >> 17U & (table.size() - 1);
        while (table[slot] != free && !areEqual(table[slot], v)) {
            slot = (slot + 1) & (table.size() - 1);
        }
        if (table[slot] == free) {
            table[slot] = v;
        }
        first[v] = table[slot];
    }
    return first;
}

std::vector<std::uint32_t> firstNear(const AccessorData& positions, const std::vector<std::uint32_t>& kinds,
                                     double tolerance) {
    return NearVertices(positions, kinds, tolerance).find();
}

} // namespace vexa::tool
