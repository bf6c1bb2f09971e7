#include "io/LoaderChecks.h"

#include "Errors.h"
#include "io/TextLines.h"

#include <array>
#include <string>

namespace vexa::tool {

namespace {

std::vector<std::string_view>::const_iterator findComment(const std::vector<std::string_view>& words) {
    return std::find_if(words.begin(), words.end(), [](std::string_view word) { return word.starts_with('#'); });
}

class OffWalker {
public:
    explicit OffWalker(const Bytes& content) : lines_(content) {}

    void run() {
        std::vector<std::string_view> words = nextLine("the word OFF");
        if (!words.front().ends_with("OFF")) {
            throw FormatError("no OFF file: it does not begin with \"OFF\"");
        }
        words.erase(words.begin());
        if (words.empty()) {
            words = nextLine("the numbers of vertices and faces");
        }
        std::array<std::uint64_t, 2> counts{};
        for (std::size_t i = 0; i < counts.size(); ++i) {
            if (i >= words.size() || !readNumber(words[i], counts[i])) {
                fail("holds no numbers of vertices and faces");
            }
        }
        for (std::uint64_t i = 0; i < counts[0]; ++i) {
            checkVertex(nextLine(announced(counts[0], "vertices", i)));
        }
        for (std::uint64_t i = 0; i < counts[1]; ++i) {
            checkFace(nextLine(announced(counts[1], "faces", i)), counts[0]);
        }
    }

private:
    static std::string announced(std::uint64_t count, const char* what, std::uint64_t there) {
        return "all of its " + std::to_string(count) + " " + what + ", " + std::to_string(there) + " are there";
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw FormatError("line " + std::to_string(lines_.number()) + " " + what);
    }

    /// The words of the next line with any, without its comment.
    std::vector<std::string_view> nextLine(const std::string& what) {
        while (auto words = lines_.next()) {
            words->erase(findComment(*words), words->end());
            if (!words->empty()) {
                return *words;
            }
        }
        throw FormatError("is cut off before " + what);
    }

    void checkVertex(const std::vector<std::string_view>& words) const {
        for (std::size_t i = 0; i < 3; ++i) {
            double value = 0;
            if (i >= words.size() || !readNumber(words[i], value)) {
                fail("is no vertex of three numbers");
            }
        }
    }

    void checkFace(const std::vector<std::string_view>& words, std::uint64_t vertices) const {
        std::uint64_t corners = 0;
        if (!readNumber(words[0], corners) || corners == 0 || corners >= words.size()) {
            fail("is no face: it does not hold as many vertices as it announces");
        }
        for (std::size_t i = 1; i <= corners; ++i) {
            std::uint64_t vertex = 0;
            if (!readNumber(words[i], vertex) || vertex >= vertices) {
                fail("names vertex " + std::string(words[i]) + ", but there are only " + std::to_string(vertices));
            }
        }
    }

    TextLines lines_;
};

Bytes withoutComments(const Bytes& content) {
    Bytes result;
    result.reserve(content.size() + 1);
    TextLines lines(content);
    while (const auto words = lines.next()) {
        const auto comment = findComment(*words);
        if (comment != words->begin()) {
            result.insert(result.end(), words->front().begin(), (comment - 1)->end());
            result.push_back('\n');
        }
    }
    return result;
}

} // namespace

Bytes checkOff(const Bytes& content) {
    OffWalker(content).run();
    return withoutComments(content);
}

} // namespace vexa::tool
