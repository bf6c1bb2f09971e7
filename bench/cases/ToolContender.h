#pragma once

#include "Measurement.h"
#include "Models.h"

namespace bench {

/// The whole of `vexamesh strip` on the model as a binary glTF file, in a process of its own: reading, the search at
/// effort 2, writing, reading back. Its memory is all that the process has.
Contender toolContender(const ModelPtr& model);

} // namespace bench
