#pragma once

#include "base/Json.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace vexa::tool {

class Table;

/// Where the program prints; nothing else does.
class Console {
public:
    /// \param out results
    /// \param err errors, warnings and progress
    Console(std::ostream& out, std::ostream& err);

    void print(std::string_view text);
    void print(const Table& table);
    void printJson(const Json& json);
    /// Text from a file: control characters in it are replaced.
    void printLine(const std::string& text);

    /// A line after the name of the program; control characters in it are replaced.
    void printError(const std::string& text);
    void printWarning(const std::string& text) { printError("warning: " + text); }

    /// Whether a progress bar can be drawn: standard error is a terminal.
    [[nodiscard]] bool isTerminal() const { return isTerminal_; }

    /// Replaces the last line of the terminal; with "" removes it.
    void drawBar(std::string_view bar);

    /// Writes everything out.
    ///
    /// \return false: some result could not be printed
    [[nodiscard]] bool flush();

private:
    std::ostream& out_;
    std::ostream& err_;
    bool isTerminal_;
};

} // namespace vexa::tool
