#include "io/DocumentPipe.h"

#include "support/Documents.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::ChildProcess;
using vexa::tool::Document;
using vexa::tool::PipeWriter;

Document sent(const Document& document) {
    ChildProcess child([&](PipeWriter& pipe) { vexa::tool::sendDocument(pipe, document); });
    Document received = vexa::tool::receiveDocument(child);
    child.wait();
    return received;
}

TEST(DocumentPipe, CarriesEverythingButTheDecodedMeshes) {
    Document document = documentOf(gridModel(3, 2));
    document.format = "OBJ";
    document.fileSize = 123456789012;
    document.asset.warnings = {"one", ""};
    document.asset.leftOut = {"two\n"};
    const Document received = sent(document);
    EXPECT_EQ(received.format, "OBJ");
    EXPECT_EQ(received.fileSize, 123456789012u);
    EXPECT_EQ(received.asset.json.dump(), document.asset.json.dump());
    EXPECT_EQ(received.asset.buffers, document.asset.buffers);
    EXPECT_THAT(received.asset.warnings, ElementsAre("one", ""));
    EXPECT_THAT(received.asset.leftOut, ElementsAre("two\n"));
    EXPECT_TRUE(received.meshes.empty());
}

TEST(DocumentPipe, CarriesThePlacesOfTheElements) {
    GltfModel model = gridModel(3, 2);
    model.json["accessors"][0]["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", 1}, {"byteOffset", 2}, {"componentType", 5123}}},
        {"values", {{"bufferView", 0}, {"byteOffset", 12}}}};
    const Document document = documentOf(model);
    const Document received = sent(document);
    ASSERT_EQ(received.asset.model.accessors.size(), 2u);
    EXPECT_EQ(received.asset.model.accessors[0].sparseIndices.byteOffset, 2u);
    EXPECT_EQ(vexa::tool::readAccessor(received.asset, 0).bytes, vexa::tool::readAccessor(document.asset, 0).bytes);
    EXPECT_EQ(vexa::tool::readIndices(received.asset, 1), document.meshes[0].primitives[0].indices);
}

TEST(DocumentPipe, KeepsTextThatIsNotUtf8) {
    Document document = documentOf(gridModel(1, 1));
    document.asset.json["asset"]["copyright"] = "\xff\xfe";
    EXPECT_EQ(sent(document).asset.json["asset"]["copyright"].get<std::string>(), "\xff\xfe");
}

TEST(DocumentPipe, ReportsAChildThatEndsEarly) {
    ChildProcess child([](PipeWriter& pipe) {
        pipe.writeText("glTF");
        std::raise(SIGSEGV);
    });
    EXPECT_THROW(vexa::tool::receiveDocument(child), vexa::tool::ProcessError);
}

} // namespace
