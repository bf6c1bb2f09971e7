#include "base/Errors.h"
#include "io/Asset.h"
#include "io/gltf/DataUri.h"
#include "io/gltf/Glb.h"

#include <algorithm>
#include <tuple>

namespace vexa::tool {

namespace {

/// Bytes of a buffer that are written as one piece, because buffer views overlap or touch there.
struct Segment {
    std::size_t buffer;
    std::size_t begin;
    std::size_t end;
    std::size_t newBegin = 0;
};

std::vector<Segment> liveSegments(const Json& views) {
    std::vector<Segment> segments;
    for (const Json& view : views) {
        const std::size_t begin = view.value("byteOffset", std::size_t{0});
        segments.push_back({view["buffer"].get<std::size_t>(), begin, begin + view["byteLength"].get<std::size_t>()});
    }
    std::sort(segments.begin(), segments.end(), [](const Segment& a, const Segment& b) {
        return std::tie(a.buffer, a.begin, a.end) < std::tie(b.buffer, b.begin, b.end);
    });
    std::vector<Segment> merged;
    for (const Segment& segment : segments) {
        if (!merged.empty() && merged.back().buffer == segment.buffer && segment.begin <= merged.back().end) {
            merged.back().end = std::max(merged.back().end, segment.end);
        } else {
            merged.push_back(segment);
        }
    }
    return merged;
}

/// Copies the segments; each keeps its position modulo 8, so that no element becomes less aligned than it was.
Bytes packSegments(std::vector<Segment>& segments, const std::vector<Bytes>& buffers) {
    constexpr std::size_t alignment = 8;
    Bytes binary;
    for (Segment& segment : segments) {
        const std::size_t shift = (segment.begin + alignment - binary.size() % alignment) % alignment;
        binary.resize(binary.size() + shift);
        segment.newBegin = binary.size();
        const Bytes& source = buffers.at(segment.buffer);
        binary.insert(binary.end(), source.begin() + static_cast<std::ptrdiff_t>(segment.begin),
                      source.begin() + static_cast<std::ptrdiff_t>(segment.end));
    }
    return binary;
}

const Segment& segmentOf(const std::vector<Segment>& segments, std::size_t buffer, std::size_t begin) {
    const auto after = std::upper_bound(
        segments.begin(), segments.end(), std::pair(buffer, begin),
        [](const auto& key, const Segment& segment) { return key < std::pair(segment.buffer, segment.begin); });
    return *std::prev(after);
}

void moveViews(Json& views, const std::vector<Segment>& segments) {
    for (Json& view : views) {
        const std::size_t begin = view.value("byteOffset", std::size_t{0});
        const Segment& segment = segmentOf(segments, view["buffer"].get<std::size_t>(), begin);
        const std::size_t offset = segment.newBegin + (begin - segment.begin);
        view["buffer"] = 0;
        if (offset != 0 || view.contains("byteOffset")) {
            view["byteOffset"] = offset;
        }
    }
}

/// The document with one buffer for all.
struct PackedDocument {
    Json json;
    Bytes binary;
};

PackedDocument packDocument(const Json& json, const std::vector<Bytes>& buffers) {
    Json document = json;
    Bytes binary;
    if (document.contains("bufferViews")) {
        std::vector<Segment> segments = liveSegments(document["bufferViews"]);
        binary = packSegments(segments, buffers);
        moveViews(document["bufferViews"], segments);
    }
    if (binary.empty()) {
        document.erase("buffers");
    } else {
        Json buffer = document["buffers"][0];
        buffer.erase("uri");
        buffer["byteLength"] = binary.size();
        document["buffers"] = Json::array({std::move(buffer)});
    }
    return {std::move(document), std::move(binary)};
}

} // namespace

Bytes writeGlb(const Json& json, const std::vector<Bytes>& buffers) {
    const PackedDocument document = packDocument(json, buffers);
    return joinGlb(compactText(document.json), document.binary);
}

GltfFiles splitGltf(const Bytes& glb, const std::string& binaryName) {
    const GlbChunks chunks = splitGlb(glb);
    Json json = parseJson(chunks.json);
    GltfFiles files;
    if (chunks.binary) {
        Json& buffer = json["buffers"][0];
        const auto length = buffer["byteLength"].get<std::ptrdiff_t>();
        files.binary.assign(chunks.binary->begin(), chunks.binary->begin() + length);
        buffer["uri"] = encodePercent(binaryName);
    }
    const std::string text = jsonText(json);
    files.text.assign(text.begin(), text.end());
    return files;
}

Bytes joinGltf(const GltfFiles& files) {
    Json json = parseJson({reinterpret_cast<const char*>(files.text.data()), files.text.size()});
    if (!files.binary.empty()) {
        json["buffers"][0].erase("uri");
    }
    return joinGlb(compactText(json), files.binary);
}

} // namespace vexa::tool
