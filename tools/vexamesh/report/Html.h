#pragma once

#include "base/Bytes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexa::tool {

/// Text as it stands in HTML, also within a quoted attribute. Control characters become question marks.
std::string escapeHtml(std::string_view text);

/// Text fit for a `<script>` element that holds JSON: nothing in it can end the element.
std::string escapeScript(std::string_view json);

/// A number with commas between groups of three digits.
std::string groupedText(std::uint64_t value);

/// The same, and as it is for programs.
std::string numberHtml(std::uint64_t value);

/// An argument as a shell takes it.
std::string shellWord(const std::string& text);

std::string base64(const unsigned char* data, std::size_t size);

} // namespace vexa::tool
