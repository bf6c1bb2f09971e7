#pragma once

#include <cstddef>
#include <string>

namespace vexa::tool {

/// A number with this many digits after the point; "-" when it is not finite.
std::string fixedText(double value, int digits);

/// The shortest text of a number as a float.
std::string shortText(double value);

/// "(1, 2.5, 0)"
std::string pointText(double x, double y, double z);

/// Text from a file, made fit for one line of a terminal: control characters become question marks.
std::string printable(const std::string& text);

/// "3 strips", "1 strip"
std::string counted(std::size_t count, const std::string& noun);

} // namespace vexa::tool
