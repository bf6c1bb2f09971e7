#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/AttributeTransformation.h"
#include "vexa/mesh/Executor.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/Transformation.h"
#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/PackedElements.h"

#include <array>
#include <cstddef>
#include <functional>
#include <glm/mat4x4.hpp>
#include <string>

/// The library's own element functions, and the loops over elements that recognise them.
///
/// These functions run in bulk on packed elements. Any other function is called with a copy of each element, in order,
/// and the element's address is queried every time: the function may hold the buffer, resize it or throw.
namespace vexa::mesh::detail {

/// "position" of createClassicTransformation.
struct PositionTransformation {
    glm::mat4 matrix;
    void operator()(void* element) const { transformPositions(element, element, 1, matrix); }
};

/// "normal" of createClassicTransformation and createTransformation.
struct NormalTransformation {
    NormalMatrix matrix;
    NormalLength length;
    void apply(const void* source, void* target, unsigned long count, unsigned long stride) const;
    void operator()(void* element) const { apply(element, element, 1, packedStride); }
};

/// "tangent" of createTransformation, for elements of three or four floats.
struct TangentTransformation {
    NormalMatrix matrix;
    NormalLength length;
    bool isMirroring; ///< changes the sign of the fourth float
    void apply(const void* source, void* target, unsigned long count, unsigned long elementSizeInBytes,
               unsigned long stride) const;
    void operator()(void* element) const { apply(element, element, 1, 4 * sizeof(float), 4 * sizeof(float)); }
};

/// Does nothing.
void leaveElement(void* element);

/// The function with which createTransformation places the attributes of a name; an empty one if it leaves them.
AttributeTransformationFunction placementOf(const std::string& attributeName, const glm::mat4& matrix,
                                            const TransformationOptions& options);

/// Wrapped by quantizeNormals.
struct NormalPacking {
    void operator()(void* source, void* target) const;
};

/// Wrapped by dequantizeNormals.
struct NormalUnpacking {
    void operator()(void* source, void* target) const;
};

/// Stores f(element i of the source) as element targetBegin + i of the target, for i from 0 to count - 1.
///
/// \param source may be the target
/// Throws whatever the function or the interface throws; the preceding elements are then stored.
void transformElements(AttributeBuffer& source, AttributeBuffer& target, unsigned long targetBegin, unsigned long count,
                       const AttributeTransformationFunction& f);

/// Changes of elements in place, made together where buffers are neighbours in one interleaved storage: it is then walked
/// once. Only the library's own functions on its own buffers, so that the delay cannot be observed; without an executor,
/// nothing allocates.
class ElementChanges {
public:
    /// \param executor shares rows of a million elements and more between threads; must outlive this
    explicit ElementChanges(const Executor& executor) : executor_(executor) {}

    /// Adds the elements of a buffer. The changes so far are made if they are of another storage.
    ///
    /// \param buffer, f must stay until the next call of flush
    /// \return whether this is possible; nothing is done otherwise
    bool add(AttributeBuffer& buffer, const AttributeTransformationFunction& f);

    /// Makes the changes.
    ///
    /// Throws whatever the executor throws.
    void flush();

private:
    struct Row {
        InterleavedElements elements{};
        unsigned long count = 0;
        const AttributeTransformationFunction* f = nullptr;
    };
    void change(unsigned long begin, unsigned long end, unsigned long blockCount) const;

    const Executor& executor_;
    std::array<Row, 4> rows_;
    std::size_t size_ = 0;
};

/// transformElements in place for each attribute of a mesh whose name is in a map, in order.
///
/// \throw std::logic_error "Attribute buffer is empty", after the preceding attributes; and whatever a function throws
void transformMeshElements(Mesh& mesh, const AttributeTransformationMap& map, const Executor& executor);

/// Appends f(element) to the target for each element of the source, in order.
///
/// \param source      may be the target, or share its storage
/// \param targetCount elements of the target
/// \param sourceCount elements of the source, as many as fit in 64 bits together with the target's
/// Throws whatever the target's resize throws, with nothing changed, or whatever the function or the interface throws, with
/// the target grown and the preceding elements stored.
void appendElements(AttributeBuffer& source, AttributeBuffer& target, unsigned long targetCount,
                    unsigned long sourceCount, const AttributeTransformationFunction& f);

/// transformElements for a function of a source and a target element, from the first element on. The copy of
/// the target's element is passed from one call to the next.
void transformElementPairs(AttributeBuffer& source, AttributeBuffer& target, unsigned long count,
                           const std::function<void(void*, void*)>& f);

} // namespace vexa::mesh::detail
