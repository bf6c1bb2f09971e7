#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/AttributeTransformation.h"
#include "vexa/mesh/detail/Kernels.h"

/// The library's own element functions, and the one walk over elements that knows them.
///
/// Its own functions on packed elements run in bulk. Any other function gets its copy of each element, in order, and
/// where the element is is asked anew each time: the function may hold the buffer, resize it or throw.
namespace vexa::mesh::detail {

/// "position" of createClassicTransformation.
struct PositionTransformation {
    glm::mat4 matrix;
    void operator()(void* element) const { transformPositions(element, element, 1, matrix); }
};

/// "normal" of createClassicTransformation.
struct NormalTransformation {
    NormalMatrix matrix;
    void operator()(void* element) const { transformNormals(element, element, 1, matrix); }
};

/// Does nothing.
void leaveElement(void* element);

/// What quantizeNormals wraps.
struct NormalPacking {
    void operator()(void* source, void* target) const;
};

/// What dequantizeNormals wraps.
struct NormalUnpacking {
    void operator()(void* source, void* target) const;
};

/// Stores f(element i of the source) as element targetBegin + i of the target, for i from 0 to count - 1.
///
/// \param source may be the target
/// \throw whatever the function or the interface throws; elements before that one are stored
void transformElements(AttributeBuffer& source, AttributeBuffer& target, unsigned long targetBegin, unsigned long count,
                       const AttributeTransformationFunction& f);

/// Grows the target by f(element) for each element of the source, in order.
///
/// \param source      may be the target, or share its storage
/// \param targetCount elements of the target
/// \param sourceCount elements of the source, as many as fit in 64 bits together with the target's
/// \throw whatever the target's resize throws; nothing is changed
/// \throw whatever the function or the interface throws; the target is grown, elements before that one are stored
void appendElements(AttributeBuffer& source, AttributeBuffer& target, unsigned long targetCount,
                    unsigned long sourceCount, const AttributeTransformationFunction& f);

/// transformElements for a function of a source and a target element, from the first element on. The copy of
/// the target's element goes from one call to the next.
void transformElementPairs(AttributeBuffer& source, AttributeBuffer& target, unsigned long count,
                           const std::function<void(void*, void*)>& f);

} // namespace vexa::mesh::detail
