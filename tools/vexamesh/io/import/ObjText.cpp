#include "io/import/ObjText.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "io/import/TextLines.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>

namespace vexa::tool {

namespace {

constexpr char wordJoint = '\x1f';
constexpr std::string_view spaces = " \t\v\f";

std::string_view nextWord(std::string_view& line) {
    const std::size_t begin = std::min(line.find_first_not_of(spaces), line.size());
    const std::size_t end = std::min(line.find_first_of(spaces, begin), line.size());
    const std::string_view word = line.substr(begin, end - begin);
    line.remove_prefix(end);
    return word;
}

/// Hands out logical lines: those that end in a backslash go on in the next.
class Lines {
public:
    explicit Lines(std::string_view text) : rest_(text) {}

    bool next(std::string& line) {
        line.clear();
        if (rest_.empty()) {
            return false;
        }
        number_ = physical_ + 1;
        bool continued = true;
        while (continued && !rest_.empty()) {
            const std::string_view part = nextPhysical();
            continued = part.ends_with('\\');
            line += continued ? part.substr(0, part.size() - 1) : part;
            line += continued ? " " : "";
        }
        return true;
    }

    [[nodiscard]] std::size_t number() const { return number_; }

private:
    std::string_view nextPhysical() {
        const std::size_t end = std::min(rest_.find_first_of("\r\n"), rest_.size());
        const std::string_view part = rest_.substr(0, end);
        const bool twoBytes = rest_.substr(end).starts_with("\r\n");
        rest_.remove_prefix(std::min(end + (twoBytes ? 2 : 1), rest_.size()));
        ++physical_;
        return part;
    }

    std::string_view rest_;
    std::size_t physical_ = 0;
    std::size_t number_ = 0;
};

/// One of the three arrays that faces index: how many there are so far, and the largest index that was used.
struct Indexed {
    const char* name;
    bool isRequired; ///< a face without it is an error
    std::size_t count = 0;
    std::int64_t largest = 0;
    std::size_t largestLine = 0;
    std::string fault{}; ///< the first index that is not one, of an array that is not required
};

class Reader {
public:
    explicit Reader(std::string_view text) : lines_(text) { result_.loaderText.reserve(text.size()); }

    ObjText read() {
        std::string line;
        while (lines_.next(line)) {
            std::string_view rest = line;
            const std::string_view keyword = nextWord(rest);
            readLine(keyword, rest);
        }
        for (Indexed* array : {&positions_, &texcoords_, &normals_}) {
            if (array->largest > static_cast<std::int64_t>(array->count)) {
                refuseIndex(*array, array->largestLine,
                            std::to_string(array->largest) + " is used, but there are only " +
                                std::to_string(array->count));
            }
            if (!array->fault.empty()) {
                result_.leftOut.push_back(std::string(array->name) +
                                          "s of faces that name missing ones: " + array->fault);
            }
        }
        reportRest();
        result_.vertices = positions_.count;
        return std::move(result_);
    }

private:
    [[noreturn]] static void fail(std::size_t line, const std::string& what) {
        throw FormatError("line " + std::to_string(line) + ": " + what);
    }
    [[noreturn]] void fail(const std::string& what) const { fail(lines_.number(), what); }

    void readLine(std::string_view keyword, std::string_view rest) {
        if (keyword == "v") {
            readNumbers(rest, 3, positions_, "v ");
        } else if (keyword == "vn") {
            readNumbers(rest, 3, normals_, "vn ");
        } else if (keyword == "vt") {
            readNumbers(rest, 1, texcoords_, "vt ");
        } else if (keyword == "f" || keyword == "fo") {
            readFace(rest);
        } else if (keyword == "l" || keyword == "p") {
            readElement(rest, keyword == "l");
        } else if (keyword == "g" || keyword == "o") {
            group_ = trim(rest);
            emit(std::string(keyword) + " ", group_);
        } else if (keyword == "usemtl") {
            material_ = joinWords(trim(rest));
            emit("usemtl ", material_);
        } else if (keyword == "mtllib") {
            readLibraries(rest);
        } else if (keyword == "s") {
            const std::string_view group = nextWord(rest);
            hasSmoothing_ = hasSmoothing_ || (group != "off" && group != "0" && !group.empty());
        } else if (!keyword.empty() && keyword[0] != '#') {
            countStatement(keyword);
        }
    }

    void countStatement(std::string_view keyword) {
        constexpr std::size_t mostKeywords = 20;
        const auto found = statements_.find(keyword);
        if (found != statements_.end()) {
            ++found->second;
        } else if (statements_.size() < mostKeywords) {
            statements_.emplace(keyword, 1);
        } else {
            ++otherStatements_;
        }
    }

    void reportRest() {
        const auto report = [&](std::size_t count, const std::string& noun, const std::string& what) {
            if (count > 0) {
                result_.leftOut.push_back(counted(count, noun) + what);
            }
        };
        for (const auto& [keyword, count] : statements_) {
            report(count, "statement", " " + quotedWord(keyword));
        }
        report(otherStatements_, "statement", " of other keywords");
        report(skippedFaces_, "face", " of fewer than three corners");
        report(skippedElements_, "element", " (l, p) without enough vertices");
        report(weights_, "weight", " of vertices");
        report(furtherNumbers_, "line", " with more numbers than the keyword takes");
        report(depths_, "third texture coordinate", "");
        report(elementTexcoords_, "texture coordinate", " of lines");
        if (colors_ > 0 && colors_ < positions_.count) {
            result_.leftOut.push_back("colours of vertices: only " + std::to_string(colors_) + " of " +
                                      std::to_string(positions_.count) + " have one");
        }
        if (hasSmoothing_ && normals_.count == 0) {
            result_.leftOut.emplace_back("smoothing groups");
        }
    }

    /// \throw FormatError the array is required
    void refuseIndex(Indexed& array, std::size_t line, const std::string& what) const {
        if (array.isRequired) {
            fail(line, std::string(array.name) + " " + what);
        }
        if (array.fault.empty()) {
            array.fault = "line " + std::to_string(line) + ": " + what;
        }
    }

    void emit(std::string_view keyword, std::string_view rest) {
        result_.loaderText.append(keyword).append(rest).append("\n");
    }

    void readNumbers(std::string_view rest, std::size_t least, Indexed& array, std::string_view keyword) {
        const std::string_view all = rest;
        std::size_t count = 0;
        std::array<double, 4> values{};
        for (std::string_view word = nextWord(rest); !word.empty() && word[0] != '#'; word = nextWord(rest)) {
            const double value = checkNumber(word, array);
            values[std::min(count, values.size() - 1)] = value;
            ++count;
        }
        if (count < least) {
            fail(std::string(array.name) + " of " + std::to_string(count) + " numbers");
        }
        countLosses(array, count, values);
        ++array.count;
        emit(keyword, all);
    }

    /// Counts the numbers of a line that come to nothing.
    void countLosses(const Indexed& array, std::size_t count, const std::array<double, 4>& values) {
        constexpr std::size_t withWeight = 4;
        constexpr std::size_t withColor = 6;
        if (&array == &positions_) {
            colors_ += count >= withColor ? 1 : 0;
            weights_ += count == withWeight && values[3] != 1 ? 1 : 0;
            furtherNumbers_ += count == withWeight + 1 || count > withColor ? 1 : 0;
        } else if (&array == &texcoords_) {
            depths_ += count >= 3 && values[2] != 0 ? 1 : 0;
            furtherNumbers_ += count > 3 ? 1 : 0;
        } else {
            furtherNumbers_ += count > 3 ? 1 : 0;
        }
    }

    double checkNumber(std::string_view word, const Indexed& array) const {
        const std::string_view digits = word.substr(word[0] == '+' ? 1 : 0);
        double value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error == std::errc::invalid_argument) {
            fail(quotedWord(word) + " is not a number");
        }
        // "1.#INF" and "-1.#IND" are how some runtimes print what is not finite.
        const bool marked = end != digits.data() + digits.size() && *end == '#';
        const bool tooLarge = error == std::errc::result_out_of_range && std::abs(value) > 1;
        if (marked || tooLarge || !(std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max()))) {
            fail(std::string(array.name) + " " + std::to_string(array.count + 1) + " is not finite");
        }
        return value;
    }

    /// \return nothing for an empty part of a corner such as the middle of "1//3", or for an index that cannot be right
    std::optional<std::int64_t> readIndex(std::string_view digits, Indexed& array) {
        if (digits.empty()) {
            return std::nullopt;
        }
        std::int64_t index = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), index);
        if (error != std::errc() || end != digits.data() + digits.size()) {
            fail(quotedWord(digits) + " is not an index");
        }
        const auto count = static_cast<std::int64_t>(array.count);
        if (index == 0 || index < -count || index > std::numeric_limits<int>::max()) {
            refuseIndex(array, lines_.number(),
                        std::to_string(index) +
                            (index == 0 ? " is used, but they are counted from 1" : " is out of range"));
            return std::nullopt;
        }
        if (index < 0) {
            index += count + 1;
        }
        // An element may follow the face that uses it: the largest index is compared at the end.
        if (index > array.largest) {
            array.largest = index;
            array.largestLine = lines_.number();
        }
        return index;
    }

    std::array<std::optional<std::int64_t>, 3> readCorner(std::string_view word) {
        std::array<std::optional<std::int64_t>, 3> corner;
        const std::array<Indexed*, 3> arrays{&positions_, &texcoords_, &normals_};
        for (std::size_t i = 0; i < arrays.size(); ++i) {
            const std::size_t slash = std::min(word.find('/'), word.size());
            corner[i] = readIndex(word.substr(0, slash), *arrays[i]);
            word.remove_prefix(std::min(slash + 1, word.size()));
        }
        if (!corner[0] || !word.empty()) {
            fail("a corner is not an index, as 1, 1/2, 1//3 or 1/2/3");
        }
        return corner;
    }

    void readFace(std::string_view rest) {
        std::string face;
        std::size_t corners = 0;
        for (std::string_view word = nextWord(rest); !word.empty() && word[0] != '#'; word = nextWord(rest)) {
            const auto corner = readCorner(word);
            const auto append = [&](const std::optional<std::int64_t>& index) {
                if (index) {
                    face += std::to_string(*index);
                }
            };
            append(corner[0]);
            if (corner[1] || corner[2]) {
                face += '/';
            }
            append(corner[1]);
            if (corner[2]) {
                face += '/';
                append(corner[2]);
            }
            face += ' ';
            ++corners;
        }
        if (corners >= 3) {
            result_.faces.push_back(corners);
            emit("f ", face);
        } else {
            ++skippedFaces_;
        }
    }

    void readElement(std::string_view rest, bool isLine) {
        ObjElement element{group_, material_, isLine, {}};
        for (std::string_view word = nextWord(rest); !word.empty() && word[0] != '#'; word = nextWord(rest)) {
            const auto corner = readCorner(word);
            element.vertices.push_back(static_cast<std::size_t>(*corner[0]) - 1);
            elementTexcoords_ += corner[1] ? 1 : 0;
        }
        if (element.vertices.size() >= (isLine ? 2U : 1U)) {
            result_.elements.push_back(std::move(element));
        } else {
            ++skippedElements_;
        }
    }

    void readLibraries(std::string_view rest) {
        std::vector<std::string> names{std::string(trim(rest))};
        for (std::string_view word = nextWord(rest); !word.empty(); word = nextWord(rest)) {
            names.emplace_back(word);
        }
        if (names.size() > 1) {
            result_.materialLibraries.push_back(std::move(names));
        }
    }

    Lines lines_;
    ObjText result_;
    std::string group_;
    std::string material_;
    Indexed positions_{"vertex", true};
    Indexed texcoords_{"texture coordinate", false};
    Indexed normals_{"normal", false};
    std::map<std::string, std::size_t, std::less<>> statements_; ///< counts of ignored keywords
    std::size_t otherStatements_ = 0;
    std::size_t skippedFaces_ = 0;
    std::size_t skippedElements_ = 0;
    std::size_t colors_ = 0;
    std::size_t weights_ = 0;
    std::size_t depths_ = 0;
    std::size_t furtherNumbers_ = 0;
    std::size_t elementTexcoords_ = 0;
    bool hasSmoothing_ = false;
};

} // namespace

std::string_view trim(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(spaces);
    const std::size_t end = text.find_last_not_of(spaces);
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin, end - begin + 1);
}

std::string joinWords(std::string_view name) {
    std::string word(name);
    std::replace_if(
        word.begin(), word.end(), [](char c) { return spaces.find(c) != std::string_view::npos; }, wordJoint);
    return word;
}

std::string splitWords(std::string_view word) {
    std::string name(word);
    std::replace(name.begin(), name.end(), wordJoint, ' ');
    return name;
}

ObjText readObjText(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    const std::size_t zero = text.find('\0');
    if (zero != std::string_view::npos) {
        throw FormatError("is not an OBJ text: a zero byte at " + std::to_string(zero));
    }
    return Reader(text).read();
}

} // namespace vexa::tool
