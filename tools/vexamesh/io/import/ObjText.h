#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vexa::tool {

/// A polyline ("l") or a set of points ("p") of an OBJ file.
struct ObjElement {
    std::string group;    ///< the object or group that it stands in
    std::string material; ///< as one word; empty: none
    bool isLine = true;
    std::vector<std::size_t> vertices; ///< counted from 0
};

/// An OBJ file that has been checked and brought into the form that the loader reads without guessing.
struct ObjText {
    std::string loaderText; ///< vertices, faces with absolute indices, groups, materials
    std::vector<ObjElement> elements;
    std::vector<std::vector<std::string>> materialLibraries; ///< per "mtllib" line: the whole name, then its words
    std::size_t vertices = 0;
    std::vector<std::size_t> faces;   ///< corners of each face of `loaderText`, at least three
    std::vector<std::string> leftOut; ///< statements and numbers that nothing is made of, a line each
};

/// Checks an OBJ file line by line.
///
/// Faces of `loaderText` may name texture coordinates and normals that are not there; `leftOut` says so.
///
/// \throw FormatError it is not text, a number is malformed or not finite, or the index of a vertex is out of range; says
///                    in which line
ObjText readObjText(std::string_view text);

/// A name as one word, and back: the loader ends names at spaces.
std::string joinWords(std::string_view name);
std::string splitWords(std::string_view word);

/// Without spaces at either end.
std::string_view trim(std::string_view text);

} // namespace vexa::tool
