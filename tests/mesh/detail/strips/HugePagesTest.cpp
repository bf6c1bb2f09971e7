#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/HugePages.h>

#include <cstddef>
#include <new>

namespace {

using namespace vexa::mesh::detail;

TEST(MapMemory, RefusesMoreThanTheAddressesThatThereAre) {
    EXPECT_THROW(mapMemory(static_cast<std::size_t>(-1) - 65535), std::bad_alloc);
}

} // namespace
