#pragma once

#include "io/Document.h"
#include "io/Json.h"

#include <cstddef>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace vexa::tool {

/// A table for people: columns as wide as what stands in them.
class Table {
public:
    enum class Align { Left, Right };

    void addColumn(const std::string& title, Align align = Align::Right);

    /// \param cells one per column
    void addRow(std::vector<std::string> cells);

    void print(std::ostream& out) const;

private:
    struct Column {
        std::string title;
        Align align;
    };
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

/// A number with this many digits behind the point; "-" when it is not finite.
std::string fixedText(double value, int digits);

/// The shortest text of a number as a float.
std::string shortText(double value);

/// Text from a file, fit for one line of a terminal.
std::string printable(const std::string& text);

/// Prints what went wrong, in one line.
void printError(std::ostream& err, const std::string& text);

/// Reads a file and prints what a person should know of it, in a line each.
///
/// \throw FileError as `loadDocument` does
Document loadAndWarn(const std::filesystem::path& file, std::ostream& err, MeshCheck check = MeshCheck::Full);

/// Prints a JSON document for programs, indented, with a newline behind it.
void printJson(std::ostream& out, const Json& json);

/// "3 strips", "1 strip"
std::string counted(std::size_t count, const std::string& noun);

} // namespace vexa::tool
