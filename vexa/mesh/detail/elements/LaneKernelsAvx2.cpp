// Compiled for processors with AVX2: not to be called on others.

#include "vexa/mesh/detail/LaneKernelsBody.h"

namespace vexa::mesh::detail {

const LaneKernels avx2Kernels = ownKernels;

} // namespace vexa::mesh::detail
