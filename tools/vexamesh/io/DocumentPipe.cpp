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

void sendTexts(PipeWriter& pipe, const std::vector<std::string>& texts) {
    pipe.writeValue(texts.size());
    for (const std::string& text : texts) {
        pipe.writeText(text);
    }
}

std::vector<std::string> receiveTexts(ChildProcess& child) {
    std::vector<std::string> texts(child.readValue<std::size_t>());
    for (std::string& text : texts) {
        text = child.readText();
    }
    return texts;
}

} // namespace

void sendDocument(PipeWriter& pipe, const Document& document) {
    pipe.writeText(document.format);
    pipe.writeValue(document.fileSize);
    const std::vector<std::uint8_t> json = Json::to_cbor(document.asset.json);
    pipe.writeBlock(json.data(), json.size());
    sendRecords(pipe, document.asset.model.accessors);
    sendRecords(pipe, document.asset.model.bufferViews);
    sendTexts(pipe, document.asset.warnings);
    sendTexts(pipe, document.asset.leftOut);
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
    document.asset.warnings = receiveTexts(child);
    document.asset.leftOut = receiveTexts(child);
    document.asset.buffers.resize(child.readValue<std::size_t>());
    for (Bytes& buffer : document.asset.buffers) {
        buffer = child.readBlock();
    }
    return document;
}

} // namespace vexa::tool
