#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

/// How the strips of a primitive are written.
enum class Joining {
    Degenerate,      ///< as one strip, joined by degenerate triangles, with the triangles in no strip
    Restart,         ///< as one strip with restart indices, with the triangles in no strip; the fans likewise
    RestartFallback, ///< as a primitive each, and as a group of all of them with restart indices
    None             ///< as a primitive each
};

/// How triangles are cut and written.
struct StripSettings {
    mesh::StripBufferOptions search; ///< `join` and `onProgress` do not count
    /// Whether primitives are cut at the same time, in `search.threads` threads. The callbacks are only called while one is
    /// cut alone.
    bool sharesThreads = false;
    std::optional<mesh::StripOptions> passes; ///< searches in passes instead, which can also cut fans
    Joining joining = Joining::Degenerate;
    unsigned int indexBits = 0; ///< 8 or 16: split primitives until their indices fit; 0: no limit
    bool allStrips = false;     ///< single triangles become strips too
    bool keepParts = false;     ///< whether the result also has the strips before they are joined
    std::optional<bool>
        provesMin; ///< whether the result says how few indices there can be; nothing: only if it is fast
    /// Called with the work that is going on, such as "search", and the part of it that is done, from 0 to 1.
    std::function<void(const char*, double)> onProgress;

    /// Removes the callbacks.
    void silence();
};

/// A primitive as strips and fans.
struct StripResult {
    std::vector<mesh::IndexedPrimitive> primitives; ///< empty when there is no triangle
    std::vector<mesh::IndexedPrimitive>
        withList;                              ///< joined, but the triangles in no strip a list; none if these are few
    std::vector<mesh::IndexedPrimitive> parts; ///< before they were joined; only with `keepParts`
    std::size_t triangles = 0;                 ///< of the input, without degenerate ones
    std::size_t degenerate = 0;                ///< those of a list: with two equal corners they draw nothing
    std::size_t strips = 0;                    ///< before they were joined
    std::size_t fans = 0;
    std::size_t leftOver = 0;                ///< triangles in no strip and no fan
    std::optional<std::uint64_t> minIndices; ///< see `minStripIndices`; only if it was wanted
    double seconds = 0;                      ///< for cutting and joining
};

/// Cuts the triangles of a primitive into strips and fans. More than one pass never gives more indices than one does,
/// also where joining the strips costs more than the search has saved.
///
/// \param type    `TRIANGLES`, `TRIANGLE_STRIP` or `TRIANGLE_FAN`
/// \param indices as decoded; in a list, what follows the last whole triangle is ignored
/// \throw FormatError there is not enough memory for the search
StripResult stripTriangles(mesh::PrimitiveType type, const std::vector<unsigned int>& indices,
                           const StripSettings& settings);

/// Counts the strips and fans in `parts`, and the triangles in neither.
void countParts(const std::vector<mesh::IndexedPrimitive>& parts, StripResult& result);

/// A number of indices that no strips of these triangles go below if they are written in this way; restart indices
/// count.
std::uint64_t minStripIndices(const std::vector<unsigned int>& triangles, Joining joining,
                              const mesh::BoundOptions& options = {});

} // namespace vexa::tool
