#include <gtest/gtest.h>
#include <vexa/mesh/detail/graph/TriangleLists.h>

#include <array>
#include <string>

namespace {

using vexa::mesh::detail::append;
using vexa::mesh::detail::splice;
using vexa::mesh::detail::Triangle;
using vexa::mesh::detail::TriangleList;
using vexa::mesh::detail::unlink;

class TriangleLists : public testing::Test {
public:
    TriangleList listOf(std::initializer_list<std::size_t> numbers) {
        TriangleList list;
        for (const std::size_t number : numbers) {
            append(list, triangles[number]);
        }
        return list;
    }

    /// The numbers of a list forwards and backwards, for example "0 1 | 1 0".
    std::string text(const TriangleList& list) const {
        std::string result;
        for (const Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
            result += std::to_string(triangle - triangles.data()) + " ";
        }
        result += "|";
        for (const Triangle* triangle = list.last; triangle != nullptr; triangle = triangle->prev) {
            result += " " + std::to_string(triangle - triangles.data());
        }
        return result;
    }

    std::array<Triangle, 5> triangles{};
};

TEST_F(TriangleLists, AppendAtTheEnd) {
    EXPECT_EQ(text(listOf({})), "|");
    EXPECT_EQ(text(listOf({2})), "2 | 2");
    EXPECT_EQ(text(listOf({2, 0, 1})), "2 0 1 | 1 0 2");
}

TEST_F(TriangleLists, UnlinkTheFirstAMiddleAndTheLastTriangle) {
    TriangleList list = listOf({0, 1, 2, 3});
    unlink(list, triangles[1]);
    EXPECT_EQ(text(list), "0 2 3 | 3 2 0");
    unlink(list, triangles[0]);
    EXPECT_EQ(text(list), "2 3 | 3 2");
    unlink(list, triangles[3]);
    EXPECT_EQ(text(list), "2 | 2");
    unlink(list, triangles[2]);
    EXPECT_EQ(text(list), "|");
    EXPECT_EQ(triangles[1].next, nullptr);
    EXPECT_EQ(triangles[1].prev, nullptr);
}

TEST_F(TriangleLists, StayUnchangedWhenATriangleInNoListIsUnlinked) {
    TriangleList list = listOf({0, 1});
    unlink(list, triangles[4]);
    EXPECT_EQ(text(list), "0 1 | 1 0");
}

TEST_F(TriangleLists, SpliceOneListAfterTheOther) {
    TriangleList target = listOf({0, 1});
    TriangleList source = listOf({2, 3});
    splice(target, source);
    EXPECT_EQ(text(target), "0 1 2 3 | 3 2 1 0");
    EXPECT_EQ(text(source), "|");
}

TEST_F(TriangleLists, SpliceWhereEitherListIsEmpty) {
    TriangleList target = listOf({0, 1});
    TriangleList empty;
    splice(target, empty);
    EXPECT_EQ(text(target), "0 1 | 1 0");
    splice(empty, target);
    EXPECT_EQ(text(empty), "0 1 | 1 0");
    EXPECT_EQ(text(target), "|");
    TriangleList other;
    splice(other, target);
    EXPECT_EQ(text(other), "|");
}

} // namespace
