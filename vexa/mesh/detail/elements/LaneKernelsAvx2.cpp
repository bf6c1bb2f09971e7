// Compiled for processors with AVX2: not to be called on others.

#include "vexa/mesh/detail/elements/LaneKernelsBody.h"

namespace vexa::mesh::detail {

const LaneKernels avx2Kernels = ownKernels;

} // namespace vexa::mesh::detail
