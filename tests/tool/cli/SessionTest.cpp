// The way from an output in memory to its file: only what reads back right is written.

#include "cli/Session.h"

#include "base/Errors.h"
#include "io/Files.h"
#include "ops/EdgeLines.h"
#include "ops/Merging.h"
#include "ops/Packing.h"
#include "ops/StripFile.h"
#include "ops/Unstripping.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using vexa::tool::Bytes;
using vexa::tool::CheckError;
using vexa::tool::Document;
using vexa::tool::FindFault;
using vexa::tool::Session;

class SessionWrite : public testing::Test {
public:
    /// A grid with normals, of which one has no direction.
    Document load() {
        GltfModel model = gridModel(2, 2);
        std::vector<float> normals;
        for (int i = 0; i < 9; ++i) {
            const float size = i == 4 ? 0 : 1;
            normals.insert(normals.end(), {0.6F * size, 0, 0.8F * size});
        }
        model.primitive(0)["attributes"]["NORMAL"] = model.addAccessor(normals, 5126, "VEC3");
        model.writeGlb(directory / "in.glb");
        return session.load(directory / "in.glb");
    }

    /// Writes the content with one bit changed at each position from `begin` on; every attempt must fail but those
    /// that change one of `padding` bytes.
    void expectDamageFound(const Bytes& content, std::size_t begin, std::size_t padding, const FindFault& findFault) {
        std::size_t written = 0;
        for (std::size_t i = begin; i < content.size(); ++i) {
            Bytes damaged = content;
            damaged[i] ^= 1U;
            try {
                session.write(out, damaged, findFault);
                std::filesystem::remove(out);
                ++written;
            } catch (const CheckError& error) {
                EXPECT_THAT(error.what(), HasSubstr("not written, because "));
                EXPECT_FALSE(std::filesystem::exists(out));
            }
        }
        EXPECT_EQ(written, padding);
        session.write(out, content, findFault);
        EXPECT_EQ(vexa::tool::readFile(out), content);
    }

    /// Where the binary chunk of a .glb file begins.
    static std::size_t dataBegin(const Bytes& file) { return 28 + vexa::tool::loadValue<std::uint32_t>(&file[12]); }

    /// Bytes of the binary chunk that no accessor of a document refers to.
    static std::size_t paddingOf(const Bytes& file) {
        const Document document = vexa::tool::loadDocument(file, "out.glb");
        std::size_t used = 0;
        for (std::size_t i = 0; i < document.asset.model.accessors.size(); ++i) {
            used += vexa::tool::readAccessor(document.asset, i).bytes.size();
        }
        return file.size() - dataBegin(file) - used;
    }

    void expectGlbDamageFound(const Bytes& file, const FindFault& findFault) {
        expectDamageFound(file, dataBegin(file), paddingOf(file), findFault);
    }

    Session session{[](const std::string& warning) { ADD_FAILURE() << warning; }};
    TemporaryDirectory directory;
    std::filesystem::path out = directory / "out.glb";
};

TEST_F(SessionWrite, RefusesDamagedEdges) {
    const auto edges = vexa::tool::replaceByEdges(load(), {});
    expectGlbDamageFound(edges.file, edges.findFault);
}

TEST_F(SessionWrite, RefusesDamagedStrips) {
    // A degenerate triangle that joins strips may become another one without a difference.
    vexa::tool::StripSettings settings;
    settings.joining = vexa::tool::Joining::Restart;
    const auto outcome = vexa::tool::stripDocument(load(), settings, {});
    expectGlbDamageFound(outcome.file, [&](const Bytes& content) {
        auto damaged = outcome;
        damaged.file = content;
        return vexa::tool::readBackStrips(damaged);
    });
}

TEST_F(SessionWrite, RefusesDamagedTriangles) {
    auto strips = vexa::tool::stripDocument(load(), {}, {});
    vexa::tool::writeFile(directory / "strips.glb", strips.file);
    const auto triangles = vexa::tool::unstripDocument(session.load(directory / "strips.glb"));
    expectGlbDamageFound(triangles.file, triangles.findFault);
}

TEST_F(SessionWrite, RefusesDamagedMergedMeshes) {
    vexa::tool::Merger merger;
    merger.add(load(), glm::dmat4(1));
    const Bytes file = merger.finish();
    expectGlbDamageFound(file, [&](const Bytes& content) { return merger.findFault(content); });
}

TEST_F(SessionWrite, RefusesDamagedPackedNormals) {
    const Document document = load();
    const auto packed = vexa::tool::packDocument(document);
    // A normal without direction has no angle that could differ.
    expectDamageFound(packed.file, 0, 2, packed.findFault);
    EXPECT_NE(packed.findFault(Bytes(packed.file.begin(), packed.file.end() - 1)), "");
    Bytes longer = packed.file;
    longer.push_back(0);
    EXPECT_NE(packed.findFault(longer), "");
}

TEST_F(SessionWrite, RefusesWhatCannotBeReadBack) {
    const auto edges = vexa::tool::replaceByEdges(load(), {});
    const Bytes half(edges.file.begin(), edges.file.begin() + static_cast<std::ptrdiff_t>(edges.file.size() / 2));
    EXPECT_THROW(session.write(out, half, edges.findFault), CheckError);
    EXPECT_THROW(session.write(out, {}, edges.findFault), CheckError);
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(SessionWrite, RefusesAChangeOfAnythingElse) {
    Document document = load();
    document.asset.json["materials"] = Json::array({{{"name", "blue"}}});
    const auto edges = vexa::tool::replaceByEdges(document, {});
    std::string text(edges.file.begin(), edges.file.end());
    const std::size_t name = text.find("blue");
    ASSERT_NE(name, std::string::npos);
    text.replace(name, 4, "grey");
    EXPECT_THAT(edges.findFault(Bytes(text.begin(), text.end())), HasSubstr("besides the indices"));
}

} // namespace
