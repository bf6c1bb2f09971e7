#include "io/gltf/Glb.h"

#include "base/Errors.h"
#include "process/MemoryClaims.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vexa::tool {

namespace {

constexpr std::uint32_t magic = 0x46546C67;
constexpr std::uint32_t jsonChunk = 0x4E4F534A;
constexpr std::uint32_t binaryChunk = 0x004E4942;
constexpr std::size_t headerSize = 12;
constexpr std::size_t chunkHeaderSize = 8;

struct Chunk {
    std::uint32_t type;
    std::span<const unsigned char> content;
};

Chunk chunkAt(std::span<const unsigned char> file, std::size_t offset) {
    const std::string where = "chunk at byte " + std::to_string(offset);
    if (file.size() - offset < chunkHeaderSize) {
        throw FormatError(where + " is cut off");
    }
    const auto length = loadValue<std::uint32_t>(file.data() + offset);
    const auto type = loadValue<std::uint32_t>(file.data() + offset + 4);
    const std::size_t left = file.size() - offset - chunkHeaderSize;
    if (length > left) {
        throw FormatError(where + " is cut off: " + std::to_string(length) + " bytes declared, " +
                          std::to_string(left) + " present");
    }
    return {type, file.subspan(offset + chunkHeaderSize, length)};
}

void appendChunk(Bytes& file, std::uint32_t type, std::span<const unsigned char> content, unsigned char fill) {
    const std::size_t padded = (content.size() + 3) / 4 * 4;
    appendValue(file, static_cast<std::uint32_t>(padded));
    appendValue(file, type);
    file.insert(file.end(), content.begin(), content.end());
    padTo(file, 4, fill);
}

} // namespace

bool hasGlbMagic(std::span<const unsigned char> file) {
    return file.size() >= 4 && loadValue<std::uint32_t>(file.data()) == magic;
}

GlbChunks splitGlb(std::span<const unsigned char> file) {
    if (!hasGlbMagic(file)) {
        throw FormatError("not a binary glTF file: it does not begin with \"glTF\"");
    }
    if (file.size() < headerSize) {
        throw FormatError("the header is cut off");
    }
    const auto version = loadValue<std::uint32_t>(file.data() + 4);
    if (version != 2) {
        throw FormatError("version " + std::to_string(version) + " of binary glTF is not supported, only 2 is");
    }
    const auto length = loadValue<std::uint32_t>(file.data() + 8);
    if (length != file.size()) {
        throw FormatError("the header declares " + std::to_string(length) + " bytes, the file has " +
                          std::to_string(file.size()));
    }

    const Chunk json = chunkAt(file, headerSize);
    if (json.type != jsonChunk) {
        throw FormatError("the first chunk is not JSON");
    }
    GlbChunks chunks{{reinterpret_cast<const char*>(json.content.data()), json.content.size()}, std::nullopt};
    std::size_t offset = headerSize + chunkHeaderSize + json.content.size();
    for (bool second = true; offset < file.size(); second = false) {
        const Chunk chunk = chunkAt(file, offset);
        // Chunks of other types may follow and are to be ignored.
        if (second && chunk.type == binaryChunk) {
            chunks.binary = chunk.content;
        }
        offset += chunkHeaderSize + chunk.content.size();
    }
    return chunks;
}

Bytes joinGlb(const std::string& json, const Bytes& binary) {
    const std::size_t size = headerSize + chunkHeaderSize + (json.size() + 3) / 4 * 4 +
                             (binary.empty() ? 0 : chunkHeaderSize + (binary.size() + 3) / 4 * 4);
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        throw FormatError("the file would be larger than 4 GiB");
    }
    const MemoryClaim claim(size, "writing it");
    Bytes file;
    file.reserve(size);
    appendValue(file, magic);
    appendValue(file, std::uint32_t{2});
    appendValue(file, static_cast<std::uint32_t>(size));
    appendChunk(file, jsonChunk, {reinterpret_cast<const unsigned char*>(json.data()), json.size()}, ' ');
    if (!binary.empty()) {
        appendChunk(file, binaryChunk, binary, 0);
    }
    return file;
}

} // namespace vexa::tool
