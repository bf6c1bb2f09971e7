#pragma once

#include "io/import/PlyFile.h"

#include <string_view>

namespace vexa::tool {

/// Reads the header of a PLY file; the properties have no values yet.
///
/// \param size receives the number of its bytes: the entries begin there
/// \throw FormatError a line is not understood, or there is no end; says which
PlyFile parsePlyHeader(std::string_view text, std::size_t& size);

} // namespace vexa::tool
