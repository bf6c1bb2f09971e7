#include "cli/Table.h"

#include "base/Text.h"

#include <algorithm>

namespace vexa::tool {

namespace {

/// Columns that a text takes on a terminal: bytes of UTF-8 that continue a character take none.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

} // namespace

void Table::addRow(std::vector<Json> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

std::string Table::cellText(const std::vector<Json>& row, std::size_t column) const {
    const Json& cell = row[column];
    return cell.is_null()           ? ""
           : cell.is_string()       ? printable(cell.get<std::string>())
           : cell.is_number_float() ? fixedText(cell.get<double>(), columns_[column].digits)
                                    : cell.dump();
}

std::string Table::text() const {
    std::vector<std::vector<std::string>> lines(rows_.size() + 1);
    std::vector<std::size_t> widths;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
        lines[0].push_back(columns_[c].title);
        widths.push_back(widthOf(columns_[c].title));
        for (std::size_t r = 0; r < rows_.size(); ++r) {
            lines[r + 1].push_back(cellText(rows_[r], c));
            widths[c] = std::max(widths[c], widthOf(lines[r + 1][c]));
        }
    }
    std::string text;
    for (const std::vector<std::string>& cells : lines) {
        std::string line;
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            const std::string space(widths[c] - widthOf(cells[c]), ' ');
            line += c == 0 ? "" : "  ";
            line += columns_[c].isText ? cells[c] + space : space + cells[c];
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
}

Json Table::json() const {
    Json list = Json::array();
    for (const std::vector<Json>& row : rows_) {
        Json object = Json::object();
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            if (!columns_[c].key.empty()) {
                object[columns_[c].key] = row[c];
            }
        }
        list.push_back(std::move(object));
    }
    return list;
}

} // namespace vexa::tool
