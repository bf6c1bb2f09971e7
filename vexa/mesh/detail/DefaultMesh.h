#pragma once

#include "vexa/mesh/Mesh.h"

#include <vector>

namespace vexa::mesh::detail {

/// The library's own mesh. The order of the fields is part of the binary interface.
class VEXA_MESH_EXPORT DefaultMesh : public Mesh {
public:
    /// \param primitiveType stored as it is
    /// \param indexType     handed to IndexBuffer::createDefault
    DefaultMesh(PrimitiveType primitiveType, ComponentType indexType);

    PrimitiveType getPrimitiveType() const override;
    unsigned long getNumPrimitives() const override;
    std::shared_ptr<IndexBuffer> getIndexBuffer() const override;
    unsigned long getNumAttributeBuffers() const override;
    std::shared_ptr<AttributeBuffer> getAttributeBuffer(unsigned long index) const override;
    std::shared_ptr<AttributeBuffer> getAttributeBuffer(const std::string& name) const override;
    void addAttributeBuffer(std::shared_ptr<AttributeBuffer> buffer) override;
    void setPrimitive(PrimitiveType type) override;
    void setIndexBuffer(const std::shared_ptr<IndexBuffer>& buffer) override;

private:
    PrimitiveType primitiveType_;
    std::shared_ptr<IndexBuffer> indexBuffer_;
    std::vector<std::shared_ptr<AttributeBuffer>> attributeBuffers_;
};

} // namespace vexa::mesh::detail
