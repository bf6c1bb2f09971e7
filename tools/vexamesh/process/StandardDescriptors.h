#pragma once

namespace vexa::tool {

/// Reserves the descriptors 0, 1 and 2 where the program was started without them, so that no file or pipe is opened
/// under the number of a standard stream. Reading or writing such a stream still fails.
///
/// Call it before anything is opened.
void reserveStandardDescriptors();

} // namespace vexa::tool
