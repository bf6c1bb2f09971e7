#include "io/DocumentPipe.h"

namespace vexa::tool {

namespace {

template <typename T>
void sendRecords(PipeWriter& pipe, const std::vector<T>& records) {
    static_assert(std::is_trivially_copyable_v<T>);
    pipe.writeValue(records.size());
    pipe.writeBytes(records.data(), records.size() * sizeof(T));
}

template <typename T>
std::vector<T> receiveRecords(ChildProcess& child) {
    std::vector<T> records(child.readValue<std::size_t>());
    child.readBytes(records.data(), records.size() * sizeof(T));
    return records;
}

} // namespace

void sendDocument(PipeWriter& pipe, const Document& document) {
    pipe.writeText(document.format);
    pipe.writeValue(document.fileSize);
    const std::vector<std::uint8_t> json = Json::to_cbor(document.asset.json);
    pipe.writeBlock(json.data(), json.size());
    sendRecords(pipe, document.asset.model.accessors);
    sendRecords(pipe, document.asset.model.bufferViews);
    pipe.writeValue(document.asset.warnings.size());
    for (const std::string& warning : document.asset.warnings) {
        pipe.writeText(warning);
    }
    pipe.writeValue(document.asset.buffers.size());
    for (const Bytes& buffer : document.asset.buffers) {
        pipe.writeBlock(buffer.data(), buffer.size());
    }
}

Document receiveDocument(ChildProcess& child) {
    Document document;
    document.format = child.readText();
    document.fileSize = child.readValue<std::size_t>();
    document.asset.json = Json::from_cbor(child.readBlock());
    document.asset.model.accessors = receiveRecords<AccessorModel>(child);
    document.asset.model.bufferViews = receiveRecords<BufferViewModel>(child);
    document.asset.warnings.resize(child.readValue<std::size_t>());
    for (std::string& warning : document.asset.warnings) {
        warning = child.readText();
    }
    document.asset.buffers.resize(child.readValue<std::size_t>());
    for (Bytes& buffer : document.asset.buffers) {
        buffer = child.readBlock();
    }
    return document;
}

} // namespace vexa::tool
