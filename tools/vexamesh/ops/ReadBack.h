#pragma once

#include "base/Bytes.h"

#include <functional>
#include <string>

namespace vexa::tool {

/// Reads the content of a file that is about to be written, and compares it with what should be in it.
///
/// \return "" when it is right; otherwise a clause that says what is wrong, such as "its triangles would not be those of
///     the input"
using FindFault = std::function<std::string(const Bytes& content)>;

} // namespace vexa::tool
