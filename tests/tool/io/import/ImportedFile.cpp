#include "ImportedFile.h"

#include <gmock/gmock.h>

namespace tool_test {

using testing::HasSubstr;
using vexa::tool::Document;

const std::string pngBegin = "\x89PNG\r\n\x1a\n and so on";

std::string ImportedFile::write(const std::string& name, const std::string& content) const {
    const std::string file = (directory / name).string();
    writeText(file, content);
    return file;
}

Document ImportedFile::load(const std::string& name, const std::string& content) const {
    return vexa::tool::loadDocument(std::filesystem::path(write(name, content)));
}

std::vector<std::string> ImportedFile::leftOut(const std::string& name, const std::string& content) const {
    return load(name, content).asset.leftOut;
}

void ImportedFile::expectRefused(const std::string& name, const std::string& content, const std::string& what) const {
    const std::string in = write(name, content);
    const ProcessResult result = runForked({"strip", in, "-o", out});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
    EXPECT_THAT(result.err, HasSubstr(in + ": "));
    EXPECT_THAT(result.err, HasSubstr(what));
    EXPECT_FALSE(std::filesystem::exists(out));
}

std::vector<double> valuesOf(const Document& document, const std::string& name, std::size_t primitive) {
    const auto* attribute = document.meshes.at(0).primitives.at(primitive).findAttribute(name);
    std::vector<double> values;
    if (attribute != nullptr) {
        const auto data = vexa::tool::readAccessor(document.asset, attribute->accessor);
        for (std::size_t i = 0; i < data.count * data.components; ++i) {
            values.push_back(data.component(i / data.components, i % data.components));
        }
    }
    return values;
}

std::vector<unsigned int> indicesOf(const Document& document, std::size_t primitive) {
    return document.meshes.at(0).primitives.at(primitive).indices;
}

} // namespace tool_test
