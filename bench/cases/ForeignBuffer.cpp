#include "cases/ForeignBuffer.h"

#include <cstring>
#include <utility>
#include <vector>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

namespace bench {

namespace {

constexpr unsigned long elementSize = 3 * sizeof(float);

class ForeignBuffer final : public vexa::mesh::AttributeBuffer {
public:
    explicit ForeignBuffer(std::string name) : name_(std::move(name)) {}

    [[nodiscard]] vexa::mesh::ComponentType getComponentType() const override { return vexa::mesh::FLOAT; }
    [[nodiscard]] unsigned long getComponentCountPerElement() const override { return 3; }
    [[nodiscard]] unsigned long getComponentSizeInBytes() const override { return sizeof(float); }
    [[nodiscard]] unsigned long getElementSizeInBytes() const override { return elementSize; }
    [[nodiscard]] unsigned long getElementStrideInBytes() const override { return elementSize; }
    [[nodiscard]] unsigned long getElementOffsetInBytes() const override { return 0; }
    [[nodiscard]] unsigned long getElementCount() const override { return values_.size() / 3; }
    void resize(unsigned long elementCount) override { values_.resize(3 * elementCount); }

    void getElement(unsigned long index, void* destination) const override {
        std::memcpy(destination, &values_[3 * index], elementSize);
    }
    void setElement(unsigned long index, const void* source) override {
        std::memcpy(&values_[3 * index], source, elementSize);
    }
    void getComponent(unsigned long index, unsigned long component, void* destination) const override {
        std::memcpy(destination, &values_[3 * index + component], sizeof(float));
    }
    void setComponent(unsigned long index, unsigned long component, const void* source) override {
        std::memcpy(&values_[3 * index + component], source, sizeof(float));
    }
    [[nodiscard]] std::string getAttributeName() const override { return name_; }

private:
    std::string name_;
    std::vector<float> values_;
};

class DerivedBuffer final : public vexa::mesh::detail::DefaultAttributeBuffer {
public:
    using DefaultAttributeBuffer::DefaultAttributeBuffer;
};

} // namespace

std::shared_ptr<vexa::mesh::AttributeBuffer> makeForeignBuffer(const std::string& name) {
    return std::make_shared<ForeignBuffer>(name);
}

std::shared_ptr<vexa::mesh::AttributeBuffer> makeDerivedBuffer(const std::string& name) {
    return std::make_shared<DerivedBuffer>(vexa::mesh::FLOAT, 3UL, elementSize, 0UL,
                                           std::make_shared<vexa::mesh::detail::VectorBufferData>(), name);
}

} // namespace bench
