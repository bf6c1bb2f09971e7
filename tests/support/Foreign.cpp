#include "support/Foreign.h"

#include <cstring>
#include <utility>

namespace vexa::test {

using namespace mesh;

namespace {

void noteIn(const CallsPtr& calls, const std::string& name, const std::string& call) {
    if (calls) {
        calls->push_back(name + "." + call);
    }
}

} // namespace

ForeignAttributeBuffer::ForeignAttributeBuffer(ComponentType type, unsigned long componentCount, std::string name,
                                               CallsPtr calls)
    : type_(type), componentCount_(componentCount), name_(std::move(name)), calls_(std::move(calls)) {}

void ForeignAttributeBuffer::note(const std::string& call) const {
    noteIn(calls_, name_, call);
}

ComponentType ForeignAttributeBuffer::getComponentType() const {
    note("getComponentType");
    return type_;
}

unsigned long ForeignAttributeBuffer::getComponentCountPerElement() const {
    note("getComponentCountPerElement");
    return componentCount_;
}

unsigned long ForeignAttributeBuffer::getComponentSizeInBytes() const {
    note("getComponentSizeInBytes");
    return mesh::getComponentSizeInBytes(type_);
}

unsigned long ForeignAttributeBuffer::getElementSizeInBytes() const {
    note("getElementSizeInBytes");
    return mesh::getComponentSizeInBytes(type_) * componentCount_;
}

unsigned long ForeignAttributeBuffer::getElementStrideInBytes() const {
    note("getElementStrideInBytes");
    return 1000;
}

unsigned long ForeignAttributeBuffer::getElementOffsetInBytes() const {
    note("getElementOffsetInBytes");
    return 7;
}

unsigned long ForeignAttributeBuffer::getElementCount() const {
    note("getElementCount");
    return elements_.size();
}

void ForeignAttributeBuffer::resize(unsigned long elementCount) {
    note("resize " + std::to_string(elementCount));
    elements_.resize(elementCount, std::vector<unsigned char>(mesh::getComponentSizeInBytes(type_) * componentCount_));
}

void ForeignAttributeBuffer::getElement(unsigned long index, void* destination) const {
    note("getElement " + std::to_string(index));
    const std::vector<unsigned char>& element = elements_.at(index);
    if (!element.empty()) {
        std::memcpy(destination, element.data(), element.size());
    }
}

void ForeignAttributeBuffer::setElement(unsigned long index, const void* source) {
    note("setElement " + std::to_string(index));
    std::vector<unsigned char>& element = elements_.at(index);
    if (!element.empty()) {
        std::memcpy(element.data(), source, element.size());
    }
}

void ForeignAttributeBuffer::getComponent(unsigned long index, unsigned long component, void* destination) const {
    note("getComponent " + std::to_string(index) + " " + std::to_string(component));
    const unsigned long size = mesh::getComponentSizeInBytes(type_);
    std::memcpy(destination, elements_.at(index).data() + component * size, size);
}

void ForeignAttributeBuffer::setComponent(unsigned long index, unsigned long component, const void* source) {
    note("setComponent " + std::to_string(index) + " " + std::to_string(component));
    const unsigned long size = mesh::getComponentSizeInBytes(type_);
    std::memcpy(elements_.at(index).data() + component * size, source, size);
}

std::string ForeignAttributeBuffer::getAttributeName() const {
    note("getAttributeName");
    return name_;
}

ForeignIndexBuffer::ForeignIndexBuffer(ComponentType type, CallsPtr calls) : type_(type), calls_(std::move(calls)) {}

void ForeignIndexBuffer::note(const std::string& call) const {
    noteIn(calls_, "indices", call);
}

ComponentType ForeignIndexBuffer::getComponentType() const {
    note("getComponentType");
    return type_;
}

unsigned long ForeignIndexBuffer::getComponentCountPerElement() const {
    return 1;
}
unsigned long ForeignIndexBuffer::getComponentSizeInBytes() const {
    return mesh::getComponentSizeInBytes(type_);
}
unsigned long ForeignIndexBuffer::getElementSizeInBytes() const {
    return mesh::getComponentSizeInBytes(type_);
}
unsigned long ForeignIndexBuffer::getElementStrideInBytes() const {
    return mesh::getComponentSizeInBytes(type_);
}
unsigned long ForeignIndexBuffer::getElementOffsetInBytes() const {
    return 0;
}

unsigned long ForeignIndexBuffer::getElementCount() const {
    note("getElementCount");
    return elements_.size();
}

void ForeignIndexBuffer::resize(unsigned long elementCount) {
    note("resize " + std::to_string(elementCount));
    elements_.resize(elementCount);
}

unsigned long ForeignIndexBuffer::getElement(unsigned long index) const {
    note("getElement " + std::to_string(index));
    return elements_.at(index);
}

void ForeignIndexBuffer::setElement(unsigned long index, unsigned long value) {
    note("setElement " + std::to_string(index));
    elements_.at(index) = value;
}

ForeignMesh::ForeignMesh(PrimitiveType type, std::string name, CallsPtr calls)
    : type_(type), name_(std::move(name)), calls_(std::move(calls)) {}

void ForeignMesh::note(const std::string& call) const {
    noteIn(calls_, name_, call);
}

PrimitiveType ForeignMesh::getPrimitiveType() const {
    note("getPrimitiveType");
    return type_;
}

unsigned long ForeignMesh::getNumPrimitives() const {
    note("getNumPrimitives");
    return 0;
}

std::shared_ptr<IndexBuffer> ForeignMesh::getIndexBuffer() const {
    note("getIndexBuffer");
    return indices_;
}

unsigned long ForeignMesh::getNumAttributeBuffers() const {
    note("getNumAttributeBuffers");
    return attributes_.size();
}

std::shared_ptr<AttributeBuffer> ForeignMesh::getAttributeBuffer(unsigned long index) const {
    note("getAttributeBuffer " + std::to_string(index));
    return attributes_.at(index);
}

std::shared_ptr<AttributeBuffer> ForeignMesh::getAttributeBuffer(const std::string& name) const {
    note("getAttributeBuffer " + name);
    return Mesh::getAttributeBuffer(name);
}

void ForeignMesh::addAttributeBuffer(std::shared_ptr<AttributeBuffer> buffer) {
    note("addAttributeBuffer");
    attributes_.push_back(std::move(buffer));
}

void ForeignMesh::setPrimitive(PrimitiveType type) {
    note("setPrimitive");
    type_ = type;
}

void ForeignMesh::setIndexBuffer(const std::shared_ptr<IndexBuffer>& buffer) {
    note("setIndexBuffer");
    indices_ = buffer;
}

// The vector's allocation is aligned, so its second byte is at an odd address.
void* ForeignData::getData() {
    ++timesAsked_;
    return bytes_.data() + 1;
}

const void* ForeignData::getData() const {
    ++timesAsked_;
    return bytes_.data() + 1;
}

unsigned long ForeignData::getSizeInBytes() const {
    return bytes_.size() - 1;
}

void ForeignData::resize(unsigned long sizeInBytes) {
    bytes_.resize(sizeInBytes + 1);
}

std::shared_ptr<ForeignAttributeBuffer> foreignCopy(const AttributeBuffer& buffer, CallsPtr calls) {
    auto copy = std::make_shared<ForeignAttributeBuffer>(
        buffer.getComponentType(), buffer.getComponentCountPerElement(), buffer.getAttributeName(), calls);
    const unsigned long count = buffer.getElementCount();
    std::vector<unsigned char> element(buffer.getElementSizeInBytes());
    copy->resize(count);
    for (unsigned long i = 0; i < count; ++i) {
        buffer.getElement(i, element.data());
        copy->setElement(i, element.data());
    }
    if (calls) {
        calls->clear();
    }
    return copy;
}

std::shared_ptr<ForeignIndexBuffer> foreignCopy(const IndexBuffer& buffer, CallsPtr calls) {
    auto copy = std::make_shared<ForeignIndexBuffer>(buffer.getComponentType(), calls);
    const unsigned long count = buffer.getElementCount();
    copy->resize(count);
    for (unsigned long i = 0; i < count; ++i) {
        copy->setElement(i, buffer.getElement(i));
    }
    if (calls) {
        calls->clear();
    }
    return copy;
}

} // namespace vexa::test
