#include "vexa/mesh/detail/elements/LaneKernelsBody.h"

namespace vexa::mesh::detail {

const LaneKernels sse2Kernels = ownKernels;

} // namespace vexa::mesh::detail
