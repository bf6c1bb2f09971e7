#pragma once

#include "base/Bytes.h"
#include "report/ReportContent.h"

#include <string>

namespace vexa::tool {

/// Texts of a page besides its content.
struct PageTexts {
    std::string input;
    std::string command;      ///< that made the report
    std::string stripCommand; ///< that writes the strips
    std::string json;         ///< what --json prints
};

/// A report as one HTML page, complete: it loads nothing.
Bytes writePage(const PageTexts& texts, const ReportContent& content);

} // namespace vexa::tool
