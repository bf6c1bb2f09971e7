#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vexa::tool {

/// A solid of a text STL file.
struct StlSolid {
    std::string name;
    std::vector<float> positions; ///< nine numbers for each facet
};

/// Whether a file that begins like this is a text STL file: binary ones may begin with the word "solid", too.
bool isStlText(std::string_view begin);

/// Reads a text STL file; its words may be in capitals, and its line breaks anywhere.
///
/// \throw FormatError something else stands where a word or a number is expected; says in which line
std::vector<StlSolid> readStlText(std::string_view text);

} // namespace vexa::tool
