#include "io/gltf/MeshoptDecoding.h"

#include "base/Errors.h"
#include "io/gltf/GltfExtensions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <meshoptimizer.h>

namespace vexa::tool {

namespace {

constexpr std::array extensions = {"EXT_meshopt_compression", "KHR_meshopt_compression"};
// Where the arithmetic on sizes stays far from overflowing 64 bits.
constexpr std::uint64_t maxCount = std::uint64_t{1} << 40;

/// How a buffer view is compressed.
struct Compression {
    std::string mode;
    std::string filter;
    std::uint64_t count = 0;
    std::uint64_t stride = 0;
    const unsigned char* data = nullptr;
    std::size_t size = 0;
};

[[noreturn]] void fail(const std::string& where, const std::string& what) {
    throw FormatError(where + " " + what);
}

void checkStride(const Compression& view, const std::string& where) {
    const bool isVertex = view.mode == "ATTRIBUTES" && view.stride > 0 && view.stride <= 256 && view.stride % 4 == 0;
    const bool isIndex = (view.mode == "TRIANGLES" || view.mode == "INDICES") && (view.stride == 2 || view.stride == 4);
    if (!isVertex && !isIndex) {
        fail(where, "has the mode \"" + view.mode + "\" and the byteStride " + std::to_string(view.stride));
    }
    if (view.mode == "TRIANGLES" && view.count % 3 != 0) {
        fail(where, "holds " + std::to_string(view.count) + " indices, which is not a multiple of 3");
    }
    const bool isSmall = view.stride == 4 || view.stride == 8;
    const bool canFilter =
        isVertex && ((view.filter == "OCTAHEDRAL" && isSmall) || view.filter == "EXPONENTIAL" ||
                     (view.filter == "QUATERNION" && view.stride == 8) || (view.filter == "COLOR" && isSmall));
    if (view.filter != "NONE" && !canFilter) {
        fail(where, "has the filter \"" + view.filter + "\", which does not fit its mode and byteStride");
    }
}

Compression readCompression(const Json& content, const std::string& where, const Json& view,
                            const std::vector<Bytes>& buffers) {
    if (!content.is_object()) {
        fail(where, "is not an object");
    }
    Compression result;
    result.mode = stringMember(content, "mode");
    result.filter = content.contains("filter") ? stringMember(content, "filter") : "NONE";
    result.count = unsignedMember(content, "count", where);
    result.stride = unsignedMember(content, "byteStride", where);
    checkStride(result, where);
    const Bytes& source = buffers[indexMember(content, "buffer", where, buffers.size())];
    const std::uint64_t offset = unsignedMember(content, "byteOffset", where, 0);
    const std::uint64_t length = unsignedMember(content, "byteLength", where);
    if (offset > source.size() || length > source.size() - offset) {
        fail(where, "reaches beyond its buffer");
    }
    if (result.count > maxCount || result.count * result.stride != view["byteLength"].get<std::uint64_t>()) {
        fail(where, "does not have the size of its buffer view");
    }
    result.data = source.data() + offset;
    result.size = length;
    return result;
}

/// Turns colours from brightness and two differences into red, green and blue. The highest bit of the last component
/// says how many bits the others have.
template <typename T>
void decodeColors(unsigned char* data, std::size_t count) {
    constexpr int range = std::numeric_limits<T>::max() + 1;
    const auto loadSigned = [](const unsigned char* bytes) {
        const int value = loadValue<T>(bytes);
        return value < range / 2 ? value : value - range;
    };
    constexpr auto max = static_cast<float>(std::numeric_limits<T>::max());
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char* element = data + i * 4 * sizeof(T);
        const int y = loadValue<T>(element);
        const int orange = loadSigned(element + sizeof(T));
        const int green = loadSigned(element + 2 * sizeof(T));
        const int last = loadValue<T>(element + 3 * sizeof(T));
        int mask = 1;
        while (mask <= last) {
            mask *= 2;
        }
        const int scale = mask - 1;
        const int alpha = last & (scale >> 1);
        const std::array colors{y + orange - green, y + green, y - orange - green, alpha << 1 | (alpha & 1)};
        for (std::size_t c = 0; c < colors.size(); ++c) {
            const float value =
                scale == 0 ? 0 : std::round(static_cast<float>(colors.at(c)) * max / static_cast<float>(scale));
            const T stored = static_cast<T>(std::clamp(value, 0.0F, max));
            std::memcpy(element + c * sizeof(T), &stored, sizeof stored);
        }
    }
}

std::string meshoptimizerVersion() {
    return std::to_string(MESHOPTIMIZER_VERSION / 1000) + "." + std::to_string(MESHOPTIMIZER_VERSION % 1000 / 10);
}

void applyFilter(const Compression& view, unsigned char* data) {
    if (view.filter == "OCTAHEDRAL") {
        meshopt_decodeFilterOct(data, view.count, view.stride);
    } else if (view.filter == "QUATERNION") {
        meshopt_decodeFilterQuat(data, view.count, view.stride);
    } else if (view.filter == "EXPONENTIAL") {
        meshopt_decodeFilterExp(data, view.count, view.stride);
    } else if (view.filter == "COLOR") {
        view.stride == 4 ? decodeColors<std::uint8_t>(data, view.count) : decodeColors<std::uint16_t>(data, view.count);
    }
}

void decode(const Compression& view, unsigned char* target, const std::string& where) {
    if (view.count == 0) {
        return;
    }
    int result = 0;
    if (view.mode == "ATTRIBUTES") {
        constexpr unsigned char newerVersion = 0xa1;
        if (view.size > 0 && view.data[0] == newerVersion) {
            fail(where, "has vertex data of version 1, which meshoptimizer " + meshoptimizerVersion() +
                            " cannot decode; write the file without compression (gltfpack: without -c, -cc or -cz), or "
                            "with EXT_meshopt_compression, whose data has version 0");
        }
        result = meshopt_decodeVertexBuffer(target, view.count, view.stride, view.data, view.size);
    } else if (view.mode == "TRIANGLES") {
        result = meshopt_decodeIndexBuffer(target, view.count, view.stride, view.data, view.size);
    } else {
        result = meshopt_decodeIndexSequence(target, view.count, view.stride, view.data, view.size);
    }
    if (result != 0) {
        fail(where, "is damaged");
    }
    applyFilter(view, target);
}

/// The first of the extensions that an object has.
const char* compressionOf(const Json& object) {
    const auto* const found = std::find_if(extensions.begin(), extensions.end(),
                                           [&](const char* name) { return findExtension(object, name) != nullptr; });
    return found == extensions.end() ? nullptr : *found;
}

/// Decodes one view into its buffer, which `placeholders` names if it had no data.
void decodeView(Json& view, const std::string& where, const std::vector<bool>& placeholders,
                std::vector<Bytes>& buffers) {
    const char* const name = compressionOf(view);
    const auto buffer = view["buffer"].get<std::size_t>();
    if (name != nullptr && placeholders[buffer]) {
        const std::string here = where + ".extensions." + name;
        const Compression compression = readCompression(*findExtension(view, name), here, view, buffers);
        const std::size_t begin = view.value("byteOffset", std::size_t{0});
        Bytes decoded(compression.count * compression.stride);
        decode(compression, decoded.data(), here);
        buffers[buffer].resize(std::max(buffers[buffer].size(), begin + decoded.size()));
        std::copy(decoded.begin(), decoded.end(), buffers[buffer].begin() + static_cast<std::ptrdiff_t>(begin));
    } else if (name == nullptr && placeholders[buffer]) {
        fail(elementName("buffers", buffer), "has no data");
    }
    for (const char* extension : extensions) {
        takeExtension(view, extension);
    }
}

} // namespace

bool usesMeshopt(const Json& document) {
    const Json& views = arrayMember(document, "bufferViews", "");
    return std::any_of(views.begin(), views.end(), [](const Json& view) { return compressionOf(view) != nullptr; });
}

void decodeMeshopt(Json& document, std::vector<Bytes>& buffers, std::vector<std::string>& warnings) {
    if (usesMeshopt(document)) {
        std::vector<bool> placeholders(buffers.size());
        std::transform(buffers.begin(), buffers.end(), placeholders.begin(),
                       [](const Bytes& buffer) { return buffer.empty(); });
        Json& views = document["bufferViews"];
        for (std::size_t i = 0; i < views.size(); ++i) {
            decodeView(views[i], elementName("bufferViews", i), placeholders, buffers);
        }
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            // A buffer that no view refers to is still empty.
            buffers[i].resize(std::max<std::size_t>(buffers[i].size(), 1));
            takeExtension(document["buffers"][i], extensions[0]);
            takeExtension(document["buffers"][i], extensions[1]);
            if (placeholders[i]) {
                document["buffers"][i]["byteLength"] = buffers[i].size();
            }
        }
    }
    for (const char* extension : extensions) {
        dropCompression(document, extension, warnings);
    }
}

} // namespace vexa::tool
