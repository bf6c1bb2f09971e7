#pragma once

#include "base/Bytes.h"
#include "base/Json.h"
#include "report/Picture.h"

namespace vexa::tool {

/// A picture as its page holds it, for viewer/model.js.
struct PictureData {
    Json facts;  ///< counts, names, and the number of bytes of each stream
    Bytes bytes; ///< the streams one after the other
};

/// Integers are LEB128, signed ones with their sign in the lowest bit. Positions have 16 bits over the extent of their
/// primitive and are written as differences from the fourth corner of a parallelogram; a triangle that shares an edge
/// with the preceding one is its edge and one vertex.
PictureData encodePicture(const Picture& picture);

/// Bytes in the format that browsers call "deflate".
Bytes deflate(const Bytes& bytes);

} // namespace vexa::tool
