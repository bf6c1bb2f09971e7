#pragma once

#include <memory>
#include <string>
#include <vexa/mesh/AttributeBuffer.h>

namespace bench {

/// An empty buffer with three floats per element, as a host program might implement it.
std::shared_ptr<vexa::mesh::AttributeBuffer> makeForeignBuffer(const std::string& name);

/// An empty buffer of the same layout whose class derives from the library's own and changes nothing. The library must
/// still go through its interface.
std::shared_ptr<vexa::mesh::AttributeBuffer> makeDerivedBuffer(const std::string& name);

} // namespace bench
