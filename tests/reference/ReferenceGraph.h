#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

/// A second, naive half-edge graph to compare with: everything is a number in a vector, every search is
/// a plain scan. Triangle t is the t-th one added; its half-edges are 3t, 3t + 1 and 3t + 2.
namespace reference {

using Indices = std::vector<std::uint32_t>;

/// Stands for "no twin" and "no half-edge".
inline constexpr std::uint32_t none = 0xffffffffU;

inline constexpr int splitOffState = -1;
inline constexpr int stripState = -10;
inline constexpr int fanState = -20;

inline constexpr int trianglesCode = 4;
inline constexpr int stripCode = 5;
inline constexpr int fanCode = 6;

/// The treatment of an edge with more than two half-edges.
enum class EdgeRule {
    SplitOff, ///< a third triangle on an edge is linked to nothing and set aside
    Pair      ///< opposite half-edges pair up, the earliest first; nothing is set aside
};

struct Parameters {
    std::uint32_t iterations = 1;
    bool buildStrips = true;
    bool buildFans = false;
    std::uint32_t minFanTriangles = 6;
    bool allStrips = false;
};

/// One fan, strip or batch; first is the centre, the reversed flag, or 0.
struct Entry {
    std::uint32_t first = 0;
    Indices triangles;
};

struct Primitive {
    int type = 0;
    Indices indices;
    std::uint32_t swaps = 0; ///< repeated vertices of a strip
};

/// The three numbers that an attempt reports.
struct Attempt {
    std::int32_t total = 0;
    std::int32_t best = 0;
    std::int32_t worst = 0;
};

/// Copyable; a filled graph may be kept and its copies optimised. All of it is open to inspection.
class Graph {
public:
    explicit Graph(EdgeRule edgeRule = EdgeRule::SplitOff);

    void addTriangle(std::uint32_t v0, std::uint32_t v1, std::uint32_t v2);
    void addTriangles(const Indices& indices);

    /// Reseeds and draws from the C library's generator. Returns the number of indices of all that it stored.
    std::uint32_t calcOptPrim(const Parameters& parameters);

    /// Writes and removes one primitive of the given type (0: any). Returns its type, or 0.
    int getPrimitive(Indices& indices, int primitiveType);
    /// All primitives in the order of getPrimitive(indices, 0).
    std::vector<Primitive> takePrimitives();

    std::uint32_t calcStripCost(const Indices& strip, bool reversed) const;
    Primitive indicesOfStrip(const Indices& strip, bool reversed) const;
    Primitive indicesOfFan(std::uint32_t centre) const;
    Primitive indicesOfBatch(const Indices& batch) const;

    /// The C library's draw r as a position among count triangles.
    static std::size_t pick(std::size_t count, int r);

    std::uint32_t calcEgdeLines(Indices& lines, bool withShareFlag) const;

    static std::uint32_t next(std::uint32_t halfEdge);
    static std::uint32_t triangleOf(std::uint32_t halfEdge);
    std::uint32_t twinTriangle(std::uint32_t halfEdge) const;
    /// The first half-edge of the triangle whose twin lies in the neighbour, or none.
    std::uint32_t edgeTowards(std::uint32_t triangle, std::uint32_t neighbour) const;

    EdgeRule rule;
    Indices vertex;         ///< per half-edge: where it starts
    Indices twin;           ///< per half-edge: the opposite half-edge, or none
    std::vector<int> state; ///< per triangle
    /// Per vertex: (vertex at the other end, half-edge) of every half-edge that starts there.
    std::vector<std::vector<std::pair<std::uint32_t, std::uint32_t>>> vertexHalfEdges;
    Indices freeTriangles;
    Indices claimedTriangles;
    std::vector<Entry> strips;
    std::vector<Entry> fans;
    std::vector<Entry> triangleLists;

    std::uint32_t invalidCount = 0; ///< free triangles of negative state that the last calcOptPrim met
    std::vector<Attempt> attempts;  ///< of the last calcOptPrim, one per reported attempt
    std::int32_t best = 0;          ///< of the last calcOptPrim, as reported at its end
    std::int32_t worst = 0;

private:
    bool isCollapsed(std::uint32_t triangle) const;
    Indices halfEdgesOnEdge(std::uint32_t a, std::uint32_t b) const;
    bool touchesFullEdge(std::uint32_t triangle) const;
    std::uint32_t partnerFor(std::uint32_t halfEdge) const;
    void link(std::uint32_t a, std::uint32_t b);
    std::uint32_t oppositeCorner(std::uint32_t halfEdge) const;
    void appendToClaimed(Entry& entry);
};

} // namespace reference
