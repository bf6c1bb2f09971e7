#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/HugePages.h>

#include <cstddef>
#include <new>

namespace {

using namespace vexa::mesh::detail;

TEST(MapMemory, RefusesMoreThanTheAddressesThatThereAre) {
    void* data = nullptr; // a result that nobody uses need not be asked for
    EXPECT_THROW(data = mapMemory(static_cast<std::size_t>(-1) - 65535), std::bad_alloc);
    EXPECT_EQ(data, nullptr);
}

} // namespace
