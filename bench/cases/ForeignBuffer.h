#pragma once

#include <memory>
#include <string>
#include <vexa/mesh/AttributeBuffer.h>

namespace bench {

/// An empty buffer of three floats an element, as a host program might store them itself.
std::shared_ptr<vexa::mesh::AttributeBuffer> makeForeignBuffer(const std::string& name);

/// An empty buffer of the same layout, of a class derived from the library's own without changing it: the library knows
/// it only by its interface.
std::shared_ptr<vexa::mesh::AttributeBuffer> makeDerivedBuffer(const std::string& name);

} // namespace bench
