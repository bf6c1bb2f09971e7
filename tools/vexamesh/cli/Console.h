#pragma once

#include "base/Bytes.h"
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

    /// From here on results go to where errors go, because the output is one of `printModel`.
    void keepOutputForModel() { results_ = &err_; }

    /// Whether standard output is a terminal.
    [[nodiscard]] bool isOutputTerminal() const { return isOutputTerminal_; }

    /// Writes a file to standard output, as it is.
    void printModel(const Bytes& content);

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
    std::ostream* results_ = &out_;
    bool isTerminal_;
    bool isOutputTerminal_;
};

} // namespace vexa::tool
