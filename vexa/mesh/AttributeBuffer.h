#pragma once

#include "vexa/mesh/Buffer.h"

#include <memory>
#include <string>

namespace vexa::mesh {

/// Named buffer of one vertex attribute, whose elements and components are copied in and out as raw bytes.
///
/// The accessors copy bytes as they are: nothing is converted, the caller's memory needs no alignment and must not
/// overlap the element, and neither an element nor a component number is checked.
///
/// The order of the virtual functions is part of the binary interface.
class VEXA_MESH_EXPORT AttributeBuffer : public Buffer {
public:
    /// Creates an attribute buffer without elements, tightly packed. Nothing is checked.
    ///
    /// \param type           scalar type of a component; an unknown one makes the sizes and the stride 0
    /// \param componentCount components per element
    /// \param attributeName  name for lookups, which compare it byte by byte; may be empty
    /// \return never empty
    /// \throw std::bad_alloc if memory runs out
    static std::shared_ptr<AttributeBuffer> createDefault(ComponentType type, unsigned long componentCount,
                                                          std::string attributeName);

    /// The same as `createDefault(FLOAT, 2, attributeName)`.
    static std::shared_ptr<AttributeBuffer> createDefaultVec2f(std::string attributeName);

    /// The same as `createDefault(FLOAT, 3, attributeName)`.
    static std::shared_ptr<AttributeBuffer> createDefaultVec3f(std::string attributeName);

    ~AttributeBuffer() override;

    /// Copies one element out.
    ///
    /// \param index       0-based element
    /// \param destination receives getElementSizeInBytes() bytes; must not be null
    virtual void getElement(unsigned long index, void* destination) const = 0;

    /// Copies one element in.
    ///
    /// \param index  0-based element
    /// \param source getElementSizeInBytes() bytes
    virtual void setElement(unsigned long index, const void* source) = 0;

    /// Copies one component out.
    ///
    /// \param index       0-based element
    /// \param component   0-based component of the element
    /// \param destination receives getComponentSizeInBytes() bytes; must not be null
    virtual void getComponent(unsigned long index, unsigned long component, void* destination) const = 0;

    /// Copies one component in; the other components of the element keep their bytes.
    ///
    /// \param index     0-based element
    /// \param component 0-based component of the element
    /// \param source    getComponentSizeInBytes() bytes
    virtual void setComponent(unsigned long index, unsigned long component, const void* source) = 0;

    /// The name; fixed for the life of the buffer.
    virtual std::string getAttributeName() const = 0;

    /// Whether an element is three floats. The component count is queried only if the type is `FLOAT`.
    bool isVec3f() const;

    /// Whether elements have the same component type and the same number of components. Name, element count, stride and
    /// offset are not compared; the counts are queried only if the types agree.
    ///
    /// \param other may be this buffer, must not be empty
    bool isCompatible(const std::shared_ptr<AttributeBuffer>& other) const;
};

} // namespace vexa::mesh
