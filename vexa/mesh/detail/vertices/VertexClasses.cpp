#include "vexa/mesh/detail/vertices/VertexClasses.h"

#include "vexa/mesh/detail/strips/LargeArray.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>

namespace vexa::mesh::detail {

namespace {

constexpr std::uint32_t none = ~std::uint32_t{0};

constexpr std::uint64_t combined(std::uint64_t seed, std::uint64_t value) {
    const std::uint64_t product = (seed ^ value) * 0x9e3779b97f4a7c15U;
    return product ^ product >> 32U;
}

/// Hashes so many bytes.
std::uint64_t hashOf(const unsigned char* bytes, std::size_t size) {
    std::uint64_t hash = size;
    for (; size >= 8; size -= 8, bytes += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, 8);
        hash = combined(hash, word);
    }
    if (size >= 4) {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes, 4);
        hash = combined(hash, word);
        size -= 4;
        bytes += 4;
    }
    for (; size > 0; --size, ++bytes) {
        hash = combined(hash, *bytes);
    }
    return combined(hash, 0);
}

/// The bytes of all rows of each vertex in one piece.
std::vector<unsigned char> packRows(std::span<const VertexRow> rows, std::size_t count, std::size_t packedSize) {
    std::vector<unsigned char> packed(count * packedSize);
    std::size_t offset = 0;
    for (const VertexRow& row : rows) {
        for (std::size_t v = 0; v < count; ++v) {
            std::memcpy(&packed[v * packedSize + offset], row.bytes + v * row.stride, row.size);
        }
        offset += row.size;
    }
    return packed;
}

/// firstEqual for one row, with elements of a size that may be known to the compiler.
template <class Size>
std::vector<std::uint32_t> firstEqualElements(const VertexRow& row, std::size_t count, Size size) {
    struct Slot {
        std::uint32_t tag;
        std::uint32_t vertex;
    };
    const std::size_t mask = std::bit_ceil(count + count / 4 + 16) - 1;
    const LargeArray<Slot> table(mask + 1);
    std::fill_n(table.get(), mask + 1, Slot{0, none});
    std::vector<std::uint32_t> first(count);
    // The slots of a block are prefetched together: they are all over the table.
    constexpr std::size_t blockSize = 64;
    std::array<std::uint64_t, blockSize> hashes{};
    for (std::size_t begin = 0; begin < count; begin += blockSize) {
        const std::size_t end = std::min(begin + blockSize, count);
        for (std::size_t v = begin; v < end; ++v) {
            hashes[v - begin] = hashOf(row.bytes + v * row.stride, size);
            __builtin_prefetch(&table[hashes[v - begin] & mask], 1);
        }
        for (std::size_t v = begin; v < end; ++v) {
            const auto tag = static_cast<std::uint32_t>(hashes[v - begin] >> 32U);
            std::size_t place = hashes[v - begin] & mask;
            const auto isTaken = [&](const Slot& slot) {
                return slot.vertex != none && (slot.tag != tag || std::memcmp(row.bytes + slot.vertex * row.stride,
                                                                              row.bytes + v * row.stride, size) != 0);
            };
            while (isTaken(table[place])) {
                place = (place + 1) & mask;
            }
            if (table[place].vertex == none) {
                table[place] = {tag, static_cast<std::uint32_t>(v)};
            }
            first[v] = table[place].vertex;
        }
    }
    return first;
}

/// The cell of a grid, and the kind of the vertices in it. Cells are numbered in double precision: the coordinates of
/// tiny ones do not fit an integer.
struct Cell {
    std::array<double, 3> place{};
    std::uint32_t kind = 0;

    bool operator==(const Cell&) const = default;
};

std::uint64_t hashOf(const Cell& cell) {
    std::uint64_t hash = cell.kind;
    for (const double value : cell.place) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        hash = combined(hash, bits);
    }
    return hash;
}

/// Numbers cells in the order in which they are added.
class CellNumbers {
public:
    explicit CellNumbers(std::size_t maxCount) : table_(std::bit_ceil(2 * maxCount + 16), none) {}

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
        std::size_t slot = hashOf(cell) & (table_.size() - 1);
        while (table_[slot] != none && !(cells_[table_[slot]] == cell)) {
            slot = (slot + 1) & (table_.size() - 1);
        }
        return slot;
    }

    std::vector<Cell> cells_;
    std::vector<std::uint32_t> table_;
};

/// How many positions are in each of the large cells of a grid, or more: cells may share a count. Most positions of a
/// mesh have no others near them, which this finds out with one or two lookups.
class Crowding {
public:
    Crowding(std::size_t count, double tolerance)
        : reach_(tolerance * 1.001), side_(8 * tolerance), counts_(std::bit_ceil(4 * count + 16)) {}

    void add(const std::array<double, 3>& position) {
        std::uint8_t& count = counts_[slotOf({cellOf(position[0]), cellOf(position[1]), cellOf(position[2])})];
        count = std::max<std::uint8_t>(count, static_cast<std::uint8_t>(count + 1));
    }

    /// Whether no other position can be within the tolerance of one that was added.
    [[nodiscard]] bool isAlone(const std::array<double, 3>& position) const {
        std::array<std::array<double, 2>, 3> cells{};
        for (std::size_t i = 0; i < 3; ++i) {
            cells[i] = {cellOf(position[i] - reach_), cellOf(position[i] + reach_)};
        }
        unsigned found = 0;
        for (unsigned corner = 0; corner < 8; ++corner) {
            const std::array<unsigned, 3> side{corner & 1U, corner >> 1U & 1U, corner >> 2U};
            bool isNew = true;
            for (std::size_t i = 0; i < 3; ++i) {
                isNew = isNew && (side[i] == 0 || cells[i][0] != cells[i][1]);
            }
            found += isNew ? counts_[slotOf({cells[0][side[0]], cells[1][side[1]], cells[2][side[2]]})] : 0U;
        }
        return found <= 1;
    }

private:
    [[nodiscard]] double cellOf(double place) const { return std::floor(place / side_) + 0.0; }
    [[nodiscard]] std::size_t slotOf(const std::array<double, 3>& cell) const {
        return hashOf(Cell{cell, 0}) & (counts_.size() - 1);
    }

    double reach_; ///< a little more than the tolerance, because sums are rounded
    double side_;
    std::vector<std::uint8_t> counts_;
};

class NearVertices {
public:
    NearVertices(const VertexRow& positions, std::span<const std::uint32_t> kinds, double tolerance)
        : positions_(positions), kinds_(kinds), tolerance_(tolerance < minDistance ? 0 : tolerance),
          first_(kinds.size()), numbers_(kinds.size()) {
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
        std::memcpy(position.data(), positions_.bytes + v * positions_.stride, sizeof position);
        // Without the sign of a zero.
        return {static_cast<double>(position[0]) + 0.0, static_cast<double>(position[1]) + 0.0,
                static_cast<double>(position[2]) + 0.0};
    }

    /// The diagonal of a cell is just below the tolerance.
    [[nodiscard]] double side() const { return tolerance_ / std::sqrt(3.0) * (1 - 1e-9); }

    /// All of a cell are near one another.
    void fillCells() {
        Crowding crowding(tolerance_ > 0 ? first_.size() : 0, tolerance_);
        for (std::uint32_t v = 0; v < first_.size() && tolerance_ > 0; ++v) {
            crowding.add(positionOf(v));
        }
        for (std::uint32_t v = 0; v < first_.size(); ++v) {
            Position place = positionOf(v);
            if (!std::all_of(place.begin(), place.end(), [](double value) { return std::isfinite(value); }) ||
                (tolerance_ > 0 && crowding.isAlone(place))) {
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
                    // None of the sums is -0, because no number of a cell is.
                    const std::uint32_t other = numbers_.find({{place[0] + x, place[1] + y, place[2] + z}, kind});
                    if (other != none) {
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

    VertexRow positions_;
    std::span<const std::uint32_t> kinds_;
    double tolerance_;
    std::vector<std::uint32_t> first_; ///< on the way to the first vertex of the class
    CellNumbers numbers_;
    std::vector<std::vector<std::uint32_t>> members_; ///< by cell
};

} // namespace

std::vector<std::uint32_t> firstEqual(std::span<const VertexRow> rows, std::size_t count) {
    if (rows.empty()) {
        return std::vector<std::uint32_t>(count);
    }
    if (rows.size() == 1) {
        const VertexRow& row = rows.front();
        return row.size == 12 ? firstEqualElements(row, count, std::integral_constant<std::size_t, 12>())
                              : firstEqualElements(row, count, row.size);
    }
    const std::size_t size = std::accumulate(rows.begin(), rows.end(), std::size_t{0},
                                             [](std::size_t sum, const VertexRow& row) { return sum + row.size; });
    const std::vector<unsigned char> packed = packRows(rows, count, size);
    return firstEqualElements({packed.data(), size, size}, count, size);
}

std::vector<std::uint32_t> firstNear(const VertexRow& positions, std::span<const std::uint32_t> kinds,
                                     double tolerance) {
    return NearVertices(positions, kinds, tolerance).find();
}

} // namespace vexa::mesh::detail
