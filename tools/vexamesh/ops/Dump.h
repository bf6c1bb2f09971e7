#pragma once

#include "io/Document.h"

#include <functional>
#include <string>

namespace vexa::tool {

/// Describes the attribute buffers of a document as text, after a line with the name of their primitive where there is
/// more than one.
///
/// \param attribute only the one of this name; "" for all
/// \param elements  all elements, too
/// \param print     receives the text, piece by piece
/// \throw FileError there are no such attributes
void dumpAttributes(const Document& document, const std::string& attribute, bool elements,
                    const std::function<void(const std::string&)>& print);

} // namespace vexa::tool
