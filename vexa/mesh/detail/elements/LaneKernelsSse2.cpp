#include "vexa/mesh/detail/LaneKernelsBody.h"

namespace vexa::mesh::detail {

const LaneKernels sse2Kernels = ownKernels;

} // namespace vexa::mesh::detail
