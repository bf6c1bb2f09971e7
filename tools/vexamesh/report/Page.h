#pragma once

#include "io/Bytes.h"
#include "report/ReportFacts.h"

#include <string>

namespace vexa::tool {

/// What a page says besides the facts.
struct PageTexts {
    std::string input;
    std::string command;      ///< that made the report
    std::string stripCommand; ///< that writes the strips
    std::string json;         ///< what --json prints
};

/// A report as one HTML page, complete: it loads nothing.
Bytes writePage(const PageTexts& texts, const ReportFacts& facts);

} // namespace vexa::tool
