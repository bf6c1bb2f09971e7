#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vexa::tool {

/// A number with this many digits after the point; "-" when it is not finite.
std::string fixedText(double value, int digits);

/// The shortest text of a number as a float.
std::string shortText(double value);

/// "(1, 2.5, 0)"
std::string pointText(double x, double y, double z);

/// Text from a file, made fit for one line of a terminal: control characters become question marks.
std::string printable(const std::string& text);

/// The word that somebody may have meant: the one that begins with `text`, or differs from it in the fewest letters, if
/// those are few; "" if there is none.
std::string nearestWord(const std::string& text, const std::vector<std::string>& words);

/// "3 strips", "1 strip"
std::string counted(std::size_t count, const std::string& noun);

/// For nouns whose plural is another word.
std::string counted(std::size_t count, const std::string& noun, const std::string& plural);

} // namespace vexa::tool
