#pragma once

#include <vexa/mesh/AttributeBuffer.h>
#include <vexa/mesh/IndexBuffer.h>
#include <vexa/mesh/Mesh.h>
#include <vexa/mesh/detail/BufferData.h>

#include <memory>
#include <string>
#include <vector>

/// Implementations of the interfaces that are not the library's own. They keep their elements apart from one another
/// and write down each call with its number, for example "normal.getElement 3".
namespace vexa::test {

using Calls = std::vector<std::string>;
using CallsPtr = std::shared_ptr<Calls>;

class ForeignAttributeBuffer : public mesh::AttributeBuffer {
public:
    ForeignAttributeBuffer(mesh::ComponentType type, unsigned long componentCount, std::string name,
                           CallsPtr calls = nullptr);

    mesh::ComponentType getComponentType() const override;
    unsigned long getComponentCountPerElement() const override;
    unsigned long getComponentSizeInBytes() const override;
    unsigned long getElementSizeInBytes() const override;
    unsigned long getElementStrideInBytes() const override;
    unsigned long getElementOffsetInBytes() const override;
    unsigned long getElementCount() const override;
    void resize(unsigned long elementCount) override;
    void getElement(unsigned long index, void* destination) const override;
    void setElement(unsigned long index, const void* source) override;
    void getComponent(unsigned long index, unsigned long component, void* destination) const override;
    void setComponent(unsigned long index, unsigned long component, const void* source) override;
    std::string getAttributeName() const override;

private:
    void note(const std::string& call) const;

    mesh::ComponentType type_;
    unsigned long componentCount_;
    std::string name_;
    CallsPtr calls_;
    std::vector<std::vector<unsigned char>> elements_;
};

/// Positions of a number that indices of 32 bits cannot reach. None can be read.
class TooManyPositions : public ForeignAttributeBuffer {
public:
    explicit TooManyPositions(unsigned long count = 0xffffffffUL)
        : ForeignAttributeBuffer(mesh::FLOAT, 3, "position"), count_(count) {}
    unsigned long getElementCount() const override { return count_; }

private:
    unsigned long count_;
};

/// Holds 64-bit indices, whatever its component type says.
class ForeignIndexBuffer : public mesh::IndexBuffer {
public:
    explicit ForeignIndexBuffer(mesh::ComponentType type, CallsPtr calls = nullptr);

    mesh::ComponentType getComponentType() const override;
    unsigned long getComponentCountPerElement() const override;
    unsigned long getComponentSizeInBytes() const override;
    unsigned long getElementSizeInBytes() const override;
    unsigned long getElementStrideInBytes() const override;
    unsigned long getElementOffsetInBytes() const override;
    unsigned long getElementCount() const override;
    void resize(unsigned long elementCount) override;
    unsigned long getElement(unsigned long index) const override;
    void setElement(unsigned long index, unsigned long value) override;

private:
    void note(const std::string& call) const;

    mesh::ComponentType type_;
    CallsPtr calls_;
    std::vector<unsigned long> elements_;
};

class ForeignMesh : public mesh::Mesh {
public:
    explicit ForeignMesh(mesh::PrimitiveType type, std::string name = "mesh", CallsPtr calls = nullptr);

    mesh::PrimitiveType getPrimitiveType() const override;
    unsigned long getNumPrimitives() const override;
    std::shared_ptr<mesh::IndexBuffer> getIndexBuffer() const override;
    unsigned long getNumAttributeBuffers() const override;
    std::shared_ptr<mesh::AttributeBuffer> getAttributeBuffer(unsigned long index) const override;
    std::shared_ptr<mesh::AttributeBuffer> getAttributeBuffer(const std::string& name) const override;
    void addAttributeBuffer(std::shared_ptr<mesh::AttributeBuffer> buffer) override;
    void setPrimitive(mesh::PrimitiveType type) override;
    void setIndexBuffer(const std::shared_ptr<mesh::IndexBuffer>& buffer) override;

private:
    void note(const std::string& call) const;

    mesh::PrimitiveType type_;
    std::string name_;
    CallsPtr calls_;
    std::shared_ptr<mesh::IndexBuffer> indices_;
    std::vector<std::shared_ptr<mesh::AttributeBuffer>> attributes_;
};

/// Bytes in an allocation of their own at an odd address; counts how often its first byte is asked for.
class ForeignData : public mesh::detail::BufferData {
public:
    void* getData() override;
    const void* getData() const override;
    unsigned long getSizeInBytes() const override;
    void resize(unsigned long sizeInBytes) override;

    [[nodiscard]] unsigned long timesAsked() const { return timesAsked_; }

private:
    std::vector<unsigned char> bytes_{0};
    mutable unsigned long timesAsked_ = 0;
};

/// A copy of a buffer as a foreign one, which no operation can take in bulk.
std::shared_ptr<ForeignAttributeBuffer> foreignCopy(const mesh::AttributeBuffer& buffer, CallsPtr calls = nullptr);
std::shared_ptr<ForeignIndexBuffer> foreignCopy(const mesh::IndexBuffer& buffer, CallsPtr calls = nullptr);

} // namespace vexa::test
