#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/Types.h"

#include <iosfwd>
#include <memory>

namespace vexa::mesh::detail {

/// Writes the properties of an attribute buffer, one per line, and optionally its elements, one per line:
///
/// ```
/// AttributeBuffer:
///     attributeName            normal
///     componentType            float
///   > componentSizeInBytes     4
///     componentCountPerElement 3
///   > elementSizeInBytes       12
///     elementStrideInBytes     12
///     elementOffsetInBytes     0
///     elementCount             2
///     Elements:
///         0, 0, 0
///         0, 1, 0
/// ```
///
/// Every line ends with std::endl. The numbers follow the stream's format flags; write errors are left in the stream's state.
///
/// \param os            any output stream
/// \param buffer        any implementation; must not be empty
/// \param printElements false leaves out the line "Elements:" and the elements
/// \throw std::bad_alloc if memory runs out; the property lines are already written
VEXA_MESH_EXPORT void printAttributeBuffer(std::ostream& os, std::shared_ptr<AttributeBuffer> buffer,
                                           bool printElements);

/// Writes the components of one element, separated by ", ".
///
/// \param os             any output stream
/// \param element        componentCount consecutive components of the type, of any alignment; may be null if there are
///                       none
/// \param type           a component of an unknown type is written as nothing
/// \param componentCount components to write
VEXA_MESH_EXPORT void printAttributeBufferElement(std::ostream& os, const unsigned char* element, ComponentType type,
                                                  unsigned long componentCount);

/// Writes one component as a number, never as a character: unsigned types as unsigned long, a byte and an int as int, a
/// short as short (which differ under std::hex), a float as double.
///
/// \param os        any output stream
/// \param component the bytes of the component, of any alignment
/// \param type      nothing is written for an unknown type
VEXA_MESH_EXPORT void printAttributeBufferComponent(std::ostream& os, const unsigned char* component,
                                                    ComponentType type);

} // namespace vexa::mesh::detail
