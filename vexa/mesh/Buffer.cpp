#include "vexa/mesh/Buffer.h"

namespace vexa::mesh {

Buffer::~Buffer() = default;

} // namespace vexa::mesh
