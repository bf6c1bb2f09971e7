#include "Report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace vexa::tool {

namespace {

/// Columns that a text takes on a terminal: bytes of UTF-8 that continue a character take none.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

} // namespace

void Table::addColumn(const std::string& title, Align align) {
    columns_.push_back({title, align});
}

void Table::addRow(std::vector<std::string> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

void Table::print(std::ostream& out) const {
    std::vector<std::size_t> widths;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
        widths.push_back(widthOf(columns_[c].title));
        for (const auto& row : rows_) {
            widths[c] = std::max(widths[c], widthOf(row[c]));
        }
    }
    const auto printRow = [&](const auto& cellOf) {
        std::string line;
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            const std::string& cell = cellOf(c);
            const std::string space(widths[c] - widthOf(cell), ' ');
            line += c == 0 ? "" : "  ";
            line += columns_[c].align == Align::Left ? cell + space : space + cell;
        }
        out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    };
    printRow([&](std::size_t c) -> const std::string& { return columns_[c].title; });
    for (const auto& row : rows_) {
        printRow([&](std::size_t c) -> const std::string& { return row[c]; });
    }
}

std::string fixedText(double value, int digits) {
    if (!std::isfinite(value)) {
        return "-";
    }
    std::array<char, 400> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits).ptr;
    return {text.data(), end};
}

std::string shortText(double value) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), static_cast<float>(value)).ptr;
    return {text.data(), end};
}

std::string printable(const std::string& text) {
    std::string result = text;
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) == 0x7f; }, '?');
    return result;
}

void printError(std::ostream& err, const std::string& text) {
    err << "vexamesh: " << printable(text) << '\n';
}

Document loadAndWarn(const std::filesystem::path& file, std::ostream& err, MeshCheck check) {
    Document document = loadDocument(file, check);
    for (const std::string& warning : document.asset.warnings) {
        err << "vexamesh: warning: " << printable(file.string() + ": " + warning) << '\n';
    }
    return document;
}

void printJson(std::ostream& out, const Json& json) {
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace vexa::tool
