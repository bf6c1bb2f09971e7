#include "vexa/mesh/detail/BufferData.h"

namespace vexa::mesh::detail {

BufferData::~BufferData() = default;

} // namespace vexa::mesh::detail
