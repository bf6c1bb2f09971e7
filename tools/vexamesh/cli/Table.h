#pragma once

#include "base/Json.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// Rows of values, as a table for people or as JSON for programs.
class Table {
public:
    struct Column {
        std::string title;
        bool isText = false;  ///< aligned to the left
        std::string key = {}; ///< member in JSON; "" leaves the column out
        int digits = 3;       ///< after the point, where values are not integers
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    /// \param cells texts and numbers; those beyond the columns are left out
    void addRow(std::vector<Json> cells);

    /// Columns are as wide as their cells.
    [[nodiscard]] std::string text() const;

    /// An array with an object per row.
    [[nodiscard]] Json json() const;

private:
    [[nodiscard]] std::string cellText(const std::vector<Json>& row, std::size_t column) const;

    std::vector<Column> columns_;
    std::vector<std::vector<Json>> rows_;
};

} // namespace vexa::tool
