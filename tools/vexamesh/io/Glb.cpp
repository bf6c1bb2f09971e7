#include "io/Glb.h"

#include "Errors.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vexa::tool {

namespace {

constexpr std::uint32_t MAGIC = 0x46546C67;
constexpr std::uint32_t JSON_CHUNK = 0x4E4F534A;
constexpr std::uint32_t BINARY_CHUNK = 0x004E4942;
constexpr std::size_t HEADER_SIZE = 12;
constexpr std::size_t CHUNK_HEADER_SIZE = 8;

struct Chunk {
    std::uint32_t type;
    std::span<const unsigned char> content;
};

Chunk chunkAt(std::span<const unsigned char> file, std::size_t offset) {
    const std::string where = "chunk at byte " + std::to_string(offset);
    if (file.size() - offset < CHUNK_HEADER_SIZE) {
        throw FormatError(where + " is cut off");
    }
    const auto length = loadValue<std::uint32_t>(file.data() + offset);
    const auto type = loadValue<std::uint32_t>(file.data() + offset + 4);
    const std::size_t left = file.size() - offset - CHUNK_HEADER_SIZE;
    if (length > left) {
        throw FormatError(where + " is cut off: " + std::to_string(length) + " bytes announced, " +
                          std::to_string(left) + " there");
    }
    return {type, file.subspan(offset + CHUNK_HEADER_SIZE, length)};
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
    return file.size() >= 4 && loadValue<std::uint32_t>(file.data()) == MAGIC;
}

GlbChunks splitGlb(std::span<const unsigned char> file) {
    if (!hasGlbMagic(file)) {
        throw FormatError("no binary glTF: it does not begin with \"glTF\"");
    }
    if (file.size() < HEADER_SIZE) {
        throw FormatError("the header is cut off");
    }
    const auto version = loadValue<std::uint32_t>(file.data() + 4);
    if (version != 2) {
        throw FormatError("version " + std::to_string(version) + " of binary glTF is not supported, only 2 is");
    }
    const auto length = loadValue<std::uint32_t>(file.data() + 8);
    if (length != file.size()) {
        throw FormatError("the header announces " + std::to_string(length) + " bytes, the file has " +
                          std::to_string(file.size()));
    }

    const Chunk json = chunkAt(file, HEADER_SIZE);
    if (json.type != JSON_CHUNK) {
        throw FormatError("the first chunk is no JSON");
    }
    GlbChunks chunks{{reinterpret_cast<const char*>(json.content.data()), json.content.size()}, std::nullopt};
    std::size_t offset = HEADER_SIZE + CHUNK_HEADER_SIZE + json.content.size();
    for (bool second = true; offset < file.size(); second = false) {
        const Chunk chunk = chunkAt(file, offset);
        // Chunks of other types may follow and are to be ignored.
        if (second && chunk.type == BINARY_CHUNK) {
            chunks.binary = chunk.content;
        }
        offset += CHUNK_HEADER_SIZE + chunk.content.size();
    }
    return chunks;
}

Bytes joinGlb(const std::string& json, const Bytes& binary) {
    const std::size_t size = HEADER_SIZE + CHUNK_HEADER_SIZE + (json.size() + 3) / 4 * 4 +
                             (binary.empty() ? 0 : CHUNK_HEADER_SIZE + (binary.size() + 3) / 4 * 4);
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        throw FormatError("the file would be larger than 4 GiB");
    }
    Bytes file;
    file.reserve(size);
    appendValue(file, MAGIC);
    appendValue(file, std::uint32_t{2});
    appendValue(file, static_cast<std::uint32_t>(size));
    appendChunk(file, JSON_CHUNK, {reinterpret_cast<const unsigned char*>(json.data()), json.size()}, ' ');
    if (!binary.empty()) {
        appendChunk(file, BINARY_CHUNK, binary, 0);
    }
    return file;
}

} // namespace vexa::tool
