#include "support/Graphs.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <vexa/mesh/detail/graph/TrianglePointers.h>

#include <new>

namespace {

using namespace graphs;
using vexa::mesh::detail::TrianglePointers;

constexpr std::uint64_t maxNarrow = (std::uint64_t{1} << 32) - 1;

/// An address that is never read, some multiples of the alignment from where others start.
Triangle* addressAt(std::uint64_t distance) {
    constexpr std::uintptr_t start = std::uintptr_t{1} << 40;
    return reinterpret_cast<Triangle*>(start + distance * alignof(Triangle));
}

void expectKept(std::uint64_t highest) {
    TrianglePointers pointers(3, addressAt(0), addressAt(highest));
    pointers.set(0, addressAt(highest));
    pointers.set(1, addressAt(0));
    pointers.set(2, addressAt(highest / 2));
    EXPECT_EQ(pointers[0], addressAt(highest));
    EXPECT_EQ(pointers[1], addressAt(0));
    EXPECT_EQ(pointers[2], addressAt(highest / 2));
}

TEST(TrianglePointers, KeepPointersAsFarApartAs32BitsCount) {
    expectKept(maxNarrow);
}

TEST(TrianglePointers, KeepPointersThatAreFurtherApart) {
    expectKept(maxNarrow + 1);
    expectKept(maxNarrow * 1000);
}

/// More address space than 32 bits count in triangles' alignment, with memory at both ends only.
class FarMemory {
public:
    FarMemory() : begin_(::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
        if (begin_ == MAP_FAILED || ::mprotect(begin_, page, PROT_READ | PROT_WRITE) != 0 ||
            ::mprotect(static_cast<char*>(begin_) + size - page, page, PROT_READ | PROT_WRITE) != 0) {
            throw std::bad_alloc();
        }
    }
    FarMemory(const FarMemory&) = delete;
    FarMemory& operator=(const FarMemory&) = delete;
    ~FarMemory() { ::munmap(begin_, size); }

    [[nodiscard]] Triangle* low() const { return new (begin_) Triangle(); }
    [[nodiscard]] Triangle* high() const { return new (static_cast<char*>(begin_) + size - page) Triangle(); }

private:
    static constexpr std::size_t page = 4096;
    static constexpr std::size_t size = (std::size_t{33} << 30);
    void* begin_;
};

void setCorners(Triangle& triangle, std::initializer_list<unsigned int> corners) {
    HalfEdge* edge = triangle.halfEdge;
    for (const unsigned int corner : corners) {
        *edge = {corner, &triangle, nullptr, &triangle.halfEdge[(edge - triangle.halfEdge + 1) % 3]};
        ++edge;
    }
}

TEST(TrianglePointers, LetCalcOptPrimCutTrianglesThatAreFarApart) {
    const FarMemory memory;
    Triangle& high = *memory.high();
    Triangle& low = *memory.low();
    setCorners(high, {0, 1, 2});
    setCorners(low, {2, 1, 3});
    link(high.halfEdge[1], low.halfEdge[0]);
    high.state = 1;
    low.state = 1;
    high.next = &low;
    low.prev = &high;
    HalfEdgeGraph graph;
    graph.freeTriangles = {&high, &low};
    graph.calcOptPrim(1, true, false, 6, false);
    EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"5: 0 1 2 3"});
    graph.claimedTriangles = {};
}

} // namespace
