#include "support/GraphComparison.h"

#include <algorithm>
#include <sstream>

namespace vexa::test {

namespace {

template <typename Actual, typename Expected>
std::string difference(const std::string& name, const Actual& actual, const Expected& expected) {
    if (actual == expected) {
        return {};
    }
    std::ostringstream text;
    text << name << " is " << actual << ", expected " << expected;
    return text.str();
}

std::string indexed(const std::string& name, std::size_t index) {
    return name + "[" + std::to_string(index) + "]";
}

/// The text with the name before it, if there is a text at all: names are put together only for differences.
std::string named(const std::string& name, const std::string& text) {
    return text.empty() ? text : name + text;
}

} // namespace

std::string differenceInIndices(const std::string& name, const std::vector<unsigned int>& actual,
                                const reference::Indices& expected) {
    if (actual == expected) {
        return {};
    }
    const std::size_t common = std::min(actual.size(), expected.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (actual[i] != expected[i]) {
            return difference(indexed(name, i), actual[i], expected[i]);
        }
    }
    return difference(name + ".size()", actual.size(), expected.size());
}

GraphComparison::GraphComparison(const mesh::HalfEdgeGraph& library, const reference::Graph& reference)
    : library_(library), reference_(reference), triangles_(reference.state.size()), differenceInVertexLists_(number()) {
}

std::string GraphComparison::number() {
    const auto& lists = library_.vertexHalfEdges;
    const auto& expectedLists = reference_.vertexHalfEdges;
    if (lists.size() != expectedLists.size()) {
        return difference("vertexHalfEdges.size()", lists.size(), expectedLists.size());
    }
    for (std::size_t v = 0; v < lists.size(); ++v) {
        if (const std::string text = numberAround(v); !text.empty()) {
            return named(indexed("vertexHalfEdges", v), text);
        }
    }
    return {};
}

std::string GraphComparison::numberAround(std::size_t vertex) {
    const auto& list = library_.vertexHalfEdges[vertex];
    const auto& expectedList = reference_.vertexHalfEdges[vertex];
    if (list.size() != expectedList.size()) {
        return difference(".size()", list.size(), expectedList.size());
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        const auto& [key, halfEdge] = list[i];
        const auto& [expectedKey, expected] = expectedList[i];
        if (key != expectedKey) {
            return difference(indexed("", i) + ".first", key, expectedKey);
        }
        const Triangle* triangle = halfEdge->triangle;
        numbers_.emplace(triangle, reference::Graph::triangleOf(expected));
        triangles_[reference::Graph::triangleOf(expected)] = triangle;
        if (halfEdge != &triangle->halfEdge[expected % 3] || numberOf(halfEdge) != expected) {
            return indexed("", i) + " is another half-edge than expected";
        }
    }
    return {};
}

std::uint32_t GraphComparison::numberOf(const mesh::HalfEdgeGraph::HalfEdge* halfEdge) const {
    if (halfEdge == nullptr) {
        return reference::none;
    }
    const auto found = numbers_.find(halfEdge->triangle);
    if (found == numbers_.end()) {
        return reference::none - 1;
    }
    return 3 * found->second + static_cast<std::uint32_t>(halfEdge - &halfEdge->triangle->halfEdge[0]);
}

std::string GraphComparison::differenceInTriangle(std::uint32_t number) const {
    for (std::uint32_t i = 0; i < 3; ++i) {
        const auto corner = [=] { return indexed("triangle", number) + "." + indexed("halfEdge", i); };
        const auto& halfEdge = triangles_[number]->halfEdge[i];
        const std::uint32_t expected = 3 * number + i;
        if (halfEdge.vertex != reference_.vertex[expected]) {
            return difference(corner() + ".vertex", halfEdge.vertex, reference_.vertex[expected]);
        }
        if (halfEdge.triangle != triangles_[number] || halfEdge.next != &triangles_[number]->halfEdge[(i + 1) % 3]) {
            return corner() + " is linked wrongly within its triangle";
        }
        if (numberOf(halfEdge.twin) != reference_.twin[expected]) {
            return difference(corner() + ".twin", numberOf(halfEdge.twin), reference_.twin[expected]);
        }
    }
    return {};
}

std::string GraphComparison::differenceInFilling() const {
    if (!differenceInVertexLists_.empty()) {
        return differenceInVertexLists_;
    }
    for (std::uint32_t number = 0; number < triangles_.size(); ++number) {
        if (std::string text = differenceInTriangle(number); !text.empty()) {
            return text;
        }
    }
    return differenceInResult();
}

std::string GraphComparison::differenceInStates() const {
    for (std::size_t i = 0; i < triangles_.size(); ++i) {
        if (triangles_[i]->state != reference_.state[i]) {
            return difference(indexed("triangle", i) + ".state", triangles_[i]->state, reference_.state[i]);
        }
    }
    return {};
}

std::string GraphComparison::differenceInResult() const {
    if (!differenceInVertexLists_.empty()) {
        return differenceInVertexLists_;
    }
    const std::string differences[] = {
        named("fans", differenceInEntries(library_.fans, reference_.fans)),
        named("strips", differenceInEntries(library_.strips, reference_.strips)),
        named("triangleLists", differenceInEntries(library_.triangleLists, reference_.triangleLists)),
        named("freeTriangles", differenceInList(library_.freeTriangles, reference_.freeTriangles)),
        named("claimedTriangles", differenceInList(library_.claimedTriangles, reference_.claimedTriangles)),
        differenceInStates(),
    };
    for (const std::string& text : differences) {
        if (!text.empty()) {
            return text;
        }
    }
    return {};
}

std::string GraphComparison::differenceInList(const TriangleList& list, const reference::Indices& expected) const {
    std::vector<unsigned int> numbers;
    const Triangle* previous = nullptr;
    for (const Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        if (triangle->prev != previous) {
            return indexed("", numbers.size()) + " is linked back wrongly";
        }
        if (numbers.size() == triangles_.size()) {
            return " has a cycle";
        }
        numbers.push_back(numbers_.at(triangle));
        previous = triangle;
    }
    if (list.last != previous) {
        return ".last is not its last triangle";
    }
    return differenceInIndices("", numbers, expected);
}

std::string GraphComparison::differenceInEntries(const Entries& entries,
                                                 const std::vector<reference::Entry>& expected) const {
    const std::size_t common = std::min(entries.size(), expected.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (entries[i].first != expected[i].first) {
            return difference(indexed("", i) + ".first", entries[i].first, expected[i].first);
        }
        if (const std::string text = differenceInList(*entries[i].second, expected[i].triangles); !text.empty()) {
            return named(indexed("", i), text);
        }
    }
    return difference(".size()", entries.size(), expected.size());
}

std::string differenceInPrimitives(mesh::HalfEdgeGraph& library, reference::Graph& reference) {
    std::vector<unsigned int> actual;
    reference::Indices expected;
    for (std::size_t i = 0;; ++i) {
        const int type = library.getPrimitive(actual, 0);
        const int expectedType = reference.getPrimitive(expected, 0);
        if (type != expectedType) {
            return difference("type of " + indexed("primitive", i), type, expectedType);
        }
        if (const std::string text = differenceInIndices("", actual, expected); !text.empty()) {
            return named(indexed("primitive", i), text);
        }
        if (type == 0) {
            return {};
        }
    }
}

} // namespace vexa::test
