#pragma once

#include "base/Bytes.h"
#include "report/ReportContent.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// Texts of a page besides its content.
struct PageTexts {
    std::string input;          ///< name of the file without its directory, as all names in pages, which are shared
    std::string command;        ///< that made the report
    std::string stripCommand;   ///< that writes the strips
    std::string json;           ///< what --json prints
    std::string address;        ///< of the page; empty if it is not known
    std::string previewAddress; ///< of the preview picture; empty without triangles
    std::vector<std::string> warnings;
};

/// A report as one HTML page, complete: it loads nothing.
Bytes writePage(const PageTexts& texts, const ReportContent& content);

} // namespace vexa::tool
