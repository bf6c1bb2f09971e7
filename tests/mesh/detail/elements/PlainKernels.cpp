// The kernels as they are compiled for processors without SSE2.

#undef __AVX2__
#undef __SSE2__

#include <vexa/mesh/detail/elements/LaneKernelsBody.h>

namespace vexa::test {

extern const mesh::detail::LaneKernels plainKernels;
const mesh::detail::LaneKernels plainKernels = mesh::detail::ownKernels;

} // namespace vexa::test
