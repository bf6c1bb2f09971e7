#include "vexa/mesh/Faults.h"

#include "vexa/mesh/Types.h"
#include "vexa/mesh/detail/elements/Indices.h"
#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/faults/FaultCollector.h"
#include "vexa/mesh/detail/faults/SurfaceFaults.h"
#include "vexa/mesh/detail/vertices/AttributeElements.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <numeric>
#include <optional>
#include <span>
#include <utility>

namespace vexa::mesh {

namespace {

using detail::AttributeElements;
using detail::countedText;
using detail::FaultSites;
using detail::numberText;

/// Edges are numbered in 32 bits.
constexpr std::size_t maxSurfaceIndices = 4294967292;

bool isList(PrimitiveType type) {
    return type == POINTS || type == LINES || type == TRIANGLES;
}

bool containsTriangles(PrimitiveType type) {
    return type == TRIANGLES || type == TRIANGLE_STRIP || type == TRIANGLE_FAN;
}

/// Fewest indices of a strip, loop or fan, or of one primitive of a list.
std::size_t minIndices(PrimitiveType type) {
    return getVertexCountForPrimitiveType(type);
}

class FaultSearch {
public:
    FaultSearch(const Mesh& mesh, const FaultOptions& options)
        : mesh_(mesh), type_(mesh.getPrimitiveType()), faults_(options) {}

    std::vector<MeshFault> run() {
        checkAttributes();
        readIndices();
        checkIndices();
        if (faults_.wants(FaultSeverity::Warning) && containsTriangles(type_)) {
            checkSurface();
        }
        return faults_.take();
    }

private:
    void checkAttributes();
    void checkAttribute(unsigned long number, const std::shared_ptr<AttributeBuffer>& buffer);
    void checkValues(const std::string& name, const AttributeElements& elements, unsigned long count,
                     unsigned long componentCount);
    void checkUnitLength(const std::string& name, const AttributeElements& elements, unsigned long count);
    void readIndices();
    void checkIndices();
    void checkParts();
    void checkIsolated();
    void checkSurface();

    template <class Visit>
    void forEachPart(const Visit& visit) const;

    const Mesh& mesh_;
    PrimitiveType type_;
    detail::FaultCollector faults_;
    std::size_t vertexCount_ = 0;
    std::optional<AttributeElements> positions_; ///< of three floats
    std::vector<unsigned int> ownIndices_;
    std::span<const unsigned int> indices_; ///< empty for a mesh without an index buffer
    bool isIndexed_ = false;
    bool hasUnusualIndices_ = false; ///< out of range, or restart indices
};

void FaultSearch::checkAttributes() {
    FaultSites empty = faults_.sites();
    const std::shared_ptr<AttributeBuffer> positions = mesh_.getAttributeBuffer("position");
    std::vector<std::string> names;
    if (!positions) {
        FaultSites missing = faults_.sites();
        missing.add(0, 0);
        faults_.add(FaultCode::MissingPosition, FaultSeverity::Error, missing,
                    "the mesh lacks the attribute \"position\"");
    }
    for (unsigned long i = 0; i < mesh_.getNumAttributeBuffers(); ++i) {
        const std::shared_ptr<AttributeBuffer> buffer = mesh_.getAttributeBuffer(i);
        if (!buffer) {
            empty.add(i, 0);
            continue;
        }
        if (names.empty()) {
            vertexCount_ = (positions ? positions : buffer)->getElementCount();
        }
        const std::string name = buffer->getAttributeName();
        if (std::find(names.begin(), names.end(), name) != names.end()) {
            FaultSites sites = faults_.sites();
            sites.add(i, 0);
            faults_.add(FaultCode::DuplicateName, FaultSeverity::Warning, sites,
                        "attribute " + std::to_string(i) + " has the name of a preceding one, \"" + name + "\"", name);
        }
        names.push_back(name);
        checkAttribute(i, buffer);
    }
    faults_.add(
        FaultCode::EmptyBuffer, FaultSeverity::Error, empty,
        countedText(empty.total(), "attribute buffer is an empty pointer", "attribute buffers are empty pointers") +
            ", first " + std::to_string(empty.first().element));
}

void FaultSearch::checkAttribute(unsigned long number, const std::shared_ptr<AttributeBuffer>& buffer) {
    const std::string name = buffer->getAttributeName();
    const unsigned long count = buffer->getElementCount();
    const auto addOne = [&](FaultCode code, FaultSeverity severity, const std::string& text) {
        FaultSites sites = faults_.sites();
        sites.add(number, static_cast<double>(count));
        faults_.add(code, severity, sites, "attribute \"" + name + "\" " + text, name);
    };
    if (count != vertexCount_) {
        addOne(FaultCode::UnequalElementCounts, count < vertexCount_ ? FaultSeverity::Error : FaultSeverity::Warning,
               "has " + countedText(count, "element", "elements") + " for " +
                   countedText(vertexCount_, "vertex", "vertices"));
    }
    const unsigned long size = buffer->getElementSizeInBytes();
    const unsigned long stride = buffer->getElementStrideInBytes();
    const unsigned long offset = buffer->getElementOffsetInBytes();
    if (count > 0 && (size > stride || offset > stride - size)) {
        addOne(FaultCode::SizeOverflow, FaultSeverity::Error,
               "has elements of " + std::to_string(size) + " bytes at offset " + std::to_string(offset) +
                   ", which do not fit a stride of " + std::to_string(stride) + " bytes");
        return;
    }
    if (count >= restartIndex) {
        addOne(FaultCode::SizeOverflow, FaultSeverity::Error,
               "has " + std::to_string(count) +
                   " elements, which indices of 32 bits cannot tell apart; split the mesh");
        return;
    }
    if (buffer->getComponentType() != FLOAT || size != 4 * buffer->getComponentCountPerElement()) {
        return;
    }
    AttributeElements elements(buffer);
    checkValues(name, elements, count, buffer->getComponentCountPerElement());
    if (name == "normal" && buffer->isVec3f() && faults_.wants(FaultSeverity::Warning)) {
        checkUnitLength(name, elements, count);
    }
    if (name == "position" && buffer->isVec3f() && !positions_ && count >= vertexCount_) {
        positions_ = std::move(elements);
    }
}

void FaultSearch::checkValues(const std::string& name, const AttributeElements& elements, unsigned long count,
                              unsigned long componentCount) {
    FaultSites sites = faults_.sites();
    for (unsigned long i = 0; i < count; ++i) {
        const unsigned char* const element = elements[i];
        for (unsigned long c = 0; c < componentCount; ++c) {
            float value = 0;
            std::memcpy(&value, element + c * sizeof value, sizeof value);
            if (!std::isfinite(value)) {
                sites.add(i, static_cast<double>(value));
            }
        }
    }
    faults_.add(FaultCode::NonFiniteValue, FaultSeverity::Error, sites,
                countedText(sites.total(), "component", "components") + " of attribute \"" + name + "\" " +
                    (sites.total() == 1 ? "is" : "are") + " not finite, first of vertex " +
                    std::to_string(sites.first().element),
                name);
}

void FaultSearch::checkUnitLength(const std::string& name, const AttributeElements& elements, unsigned long count) {
    FaultSites sites = faults_.sites();
    const double tolerance = static_cast<double>(faults_.options().unitTolerance);
    for (unsigned long i = 0; i < count; ++i) {
        std::array<float, 3> n{};
        std::memcpy(n.data(), elements[i], sizeof n);
        const auto square = [](float x) { return static_cast<double>(x) * static_cast<double>(x); };
        const double length = std::sqrt(square(n[0]) + square(n[1]) + square(n[2]));
        if (std::abs(length - 1) > tolerance) {
            sites.add(i, length);
        }
    }
    faults_.add(FaultCode::NonUnitNormal, FaultSeverity::Warning, sites,
                std::to_string(sites.total()) + " of " + countedText(count, "normal is", "normals are") +
                    " not of length 1, first " + numberText(sites.first().value) + " of vertex " +
                    std::to_string(sites.first().element),
                name);
}

void FaultSearch::readIndices() {
    const std::shared_ptr<IndexBuffer> buffer = mesh_.getIndexBuffer();
    isIndexed_ = buffer != nullptr;
    if (!buffer) {
        return;
    }
    const std::size_t count = buffer->getElementCount();
    const auto packed = detail::findPackedIndices(*buffer);
    if (packed) {
        hasUnusualIndices_ = !detail::areIndicesBelow(packed->bytes, packed->type, count, vertexCount_);
    }
    ownIndices_.resize(count);
    indices_ = ownIndices_;
    if (packed) {
        detail::widenIndices(packed->bytes, packed->type, ownIndices_.data(), count);
        return;
    }
    const unsigned long allOnes = detail::allOnesOf(buffer->getComponentType());
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned long index = buffer->getElement(i);
        // One that needs more bits is out of range in any case.
        ownIndices_[i] = index == allOnes ? restartIndex
                                          : static_cast<unsigned int>(std::min<unsigned long>(index, restartIndex - 1));
    }
    hasUnusualIndices_ = true;
}

/// Calls `visit(begin, end)` for the positions of each strip or fan, or of each piece of a list, between restarts.
template <class Visit>
void FaultSearch::forEachPart(const Visit& visit) const {
    for (auto begin = indices_.begin();;) {
        const auto end = hasUnusualIndices_ ? std::find(begin, indices_.end(), restartIndex) : indices_.end();
        visit(static_cast<std::size_t>(begin - indices_.begin()), static_cast<std::size_t>(end - indices_.begin()));
        if (end == indices_.end()) {
            return;
        }
        begin = end + 1;
    }
}

void FaultSearch::checkIndices() {
    if (hasUnusualIndices_) {
        FaultSites outside = faults_.sites();
        FaultSites restarts = faults_.sites();
        for (std::size_t i = 0; i < indices_.size(); ++i) {
            if (indices_[i] == restartIndex) {
                restarts.add(i, indices_[i]);
            } else if (indices_[i] >= vertexCount_) {
                outside.add(i, indices_[i]);
            }
        }
        faults_.add(FaultCode::IndexOutOfRange, FaultSeverity::Error, outside,
                    std::to_string(outside.total()) + " of " + countedText(indices_.size(), "index is", "indices are") +
                        " out of range, first " + std::to_string(static_cast<std::uint64_t>(outside.first().value)) +
                        " at " + std::to_string(outside.first().element) + ": the mesh has " +
                        countedText(vertexCount_, "vertex", "vertices"));
        if (isList(type_)) {
            faults_.add(FaultCode::RestartInList, FaultSeverity::Warning, restarts,
                        countedText(restarts.total(), "index restarts", "indices restart") + " a list of " +
                            getStringForPrimitiveType(type_) + ", first at " +
                            std::to_string(restarts.first().element));
        }
    }
    checkParts();
    if (isIndexed_ && faults_.wants(FaultSeverity::Note)) {
        checkIsolated();
    }
}

void FaultSearch::checkParts() {
    FaultSites incomplete = faults_.sites();
    const std::size_t least = minIndices(type_);
    const auto check = [&](std::size_t begin, std::size_t end) {
        const std::size_t size = end - begin;
        const std::size_t rest = least == 0 ? 0 : isList(type_) ? size % least : size < least ? size : 0;
        if (rest != 0) {
            incomplete.add(end - rest, static_cast<double>(rest));
        }
    };
    if (isIndexed_) {
        forEachPart(check);
    } else {
        check(0, vertexCount_);
    }
    faults_.add(FaultCode::IncompletePrimitive, FaultSeverity::Warning, incomplete,
                countedText(incomplete.total(), "primitive of ", "primitives of ") + getStringForPrimitiveType(type_) +
                    (incomplete.total() == 1 ? " is" : " are") + " incomplete, first from index " +
                    std::to_string(incomplete.first().element));
}

void FaultSearch::checkIsolated() {
    std::vector<unsigned char> isUsed(vertexCount_);
    for (const unsigned int index : indices_) {
        if (index < vertexCount_) {
            isUsed[index] = 1;
        }
    }
    FaultSites isolated = faults_.sites();
    for (std::size_t v = 0; v < vertexCount_; ++v) {
        if (isUsed[v] == 0) {
            isolated.add(v, 0);
        }
    }
    faults_.add(FaultCode::IsolatedVertex, FaultSeverity::Note, isolated,
                countedText(isolated.total(), "vertex is", "vertices are") + " in no primitive, first " +
                    std::to_string(isolated.first().element));
}

void FaultSearch::checkSurface() {
    const detail::VertexRow* const positions = positions_ ? &positions_->row() : nullptr;
    if (!isIndexed_) {
        ownIndices_.resize(std::min<std::size_t>(vertexCount_, restartIndex));
        std::iota(ownIndices_.begin(), ownIndices_.end(), 0U);
        indices_ = ownIndices_;
    }
    if (type_ == TRIANGLES && !hasUnusualIndices_) {
        const std::size_t whole = std::min(indices_.size() - indices_.size() % 3, maxSurfaceIndices);
        detail::findSurfaceFaults({indices_.first(whole), {}, true}, positions, faults_);
        return;
    }
    std::vector<unsigned int> triangles;
    std::vector<std::uint64_t> leftOut;
    forEachPart([&](std::size_t begin, std::size_t end) {
        const std::size_t step = type_ == TRIANGLES ? 3 : 1;
        for (std::size_t i = begin; i + 2 < end; i += step) {
            const std::size_t turned = type_ == TRIANGLE_STRIP ? (i - begin) % 2 : 0;
            const std::array corners{indices_[type_ == TRIANGLE_FAN ? begin : i], indices_[i + 1 + turned],
                                     indices_[i + 2 - turned]};
            if (std::all_of(corners.begin(), corners.end(),
                            [this](unsigned int corner) { return corner < vertexCount_; })) {
                triangles.insert(triangles.end(), corners.begin(), corners.end());
            } else {
                leftOut.push_back(triangles.size() / 3);
                triangles.insert(triangles.end(), {0, 0, 0});
            }
        }
    });
    const std::size_t whole = std::min(triangles.size(), maxSurfaceIndices);
    detail::findSurfaceFaults({std::span(triangles).first(whole), leftOut, type_ != TRIANGLE_STRIP}, positions,
                              faults_);
}

} // namespace

std::vector<MeshFault> findFaults(const Mesh& mesh, const FaultOptions& options) {
    return FaultSearch(mesh, options).run();
}

std::string getStringForFaultCode(FaultCode code) {
    switch (code) {
    case FaultCode::MissingPosition:
        return "missing-position";
    case FaultCode::EmptyBuffer:
        return "empty-buffer";
    case FaultCode::DuplicateName:
        return "duplicate-name";
    case FaultCode::UnequalElementCounts:
        return "unequal-element-counts";
    case FaultCode::SizeOverflow:
        return "size-overflow";
    case FaultCode::IndexOutOfRange:
        return "index-out-of-range";
    case FaultCode::RestartInList:
        return "restart-in-list";
    case FaultCode::IncompletePrimitive:
        return "incomplete-primitive";
    case FaultCode::NonFiniteValue:
        return "non-finite-value";
    case FaultCode::NonUnitNormal:
        return "non-unit-normal";
    case FaultCode::CollapsedTriangle:
        return "collapsed-triangle";
    case FaultCode::ZeroAreaTriangle:
        return "zero-area-triangle";
    case FaultCode::DuplicateTriangle:
        return "duplicate-triangle";
    case FaultCode::InconsistentWinding:
        return "inconsistent-winding";
    case FaultCode::NonManifoldEdge:
        return "non-manifold-edge";
    case FaultCode::OpenBorder:
        return "open-border";
    case FaultCode::IsolatedVertex:
        return "isolated-vertex";
    }
    return {};
}

std::string getStringForFaultSeverity(FaultSeverity severity) {
    switch (severity) {
    case FaultSeverity::Note:
        return "note";
    case FaultSeverity::Warning:
        return "warning";
    case FaultSeverity::Error:
        return "error";
    }
    return {};
}

} // namespace vexa::mesh
