// Classes of the program derive from those of the library, and the library's own are recognised from outside.

#include <vexa/mesh/detail/DefaultIndexBuffer.h>

#include <iostream>
#include <vector>

namespace {

class LoudStorage final : public vexa::mesh::detail::BufferData {
public:
    void* getData() override { return bytes_.data(); }
    const void* getData() const override { return bytes_.data(); }
    unsigned long getSizeInBytes() const override { return bytes_.size(); }
    void resize(unsigned long sizeInBytes) override {
        std::cout << "resize to " << sizeInBytes << " bytes\n";
        bytes_.resize(sizeInBytes);
    }

private:
    std::vector<char> bytes_;
};

class LoudIndexBuffer final : public vexa::mesh::detail::DefaultIndexBuffer<unsigned int> {
public:
    using DefaultIndexBuffer::DefaultIndexBuffer;
    void setElement(unsigned long index, unsigned long value) override {
        std::cout << "element " << index << " is " << value << '\n';
        DefaultIndexBuffer::setElement(index, value);
    }
};

void fill(vexa::mesh::IndexBuffer& buffer) {
    buffer.resize(2);
    buffer.setElement(1, 70000);
    std::cout << "read: " << buffer.getElement(1) << '\n';
}

} // namespace

int main() {
    using namespace vexa::mesh;
    const std::shared_ptr<IndexBuffer> buffer = IndexBuffer::createDefault(UNSIGNED_SHORT);
    dynamic_cast<detail::DefaultIndexBuffer<unsigned short>&>(*buffer).getBufferData() =
        std::make_shared<LoudStorage>();
    fill(*buffer);
    LoudIndexBuffer own(UNSIGNED_INT, 1, 4, 0, std::make_shared<LoudStorage>());
    fill(own);
}
