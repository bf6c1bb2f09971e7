#pragma once

#include "base/Json.h"
#include "io/Document.h"

namespace vexa::tool {

class Console;

/// The meshes of a document, for programs.
Json infoJson(const Document& document);

/// The same as a table for people.
void printInfo(Console& console, const Document& document);

} // namespace vexa::tool
