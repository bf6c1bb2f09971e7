#ifdef VEXAMESH_WITH_REPORT

#include "report/Preview.h"

#include "report/View.h"
#include "support/Pictures.h"

#include <gtest/gtest.h>
#include <png.h>
#include <set>

namespace {

using namespace vexa::tool;
namespace mesh = vexa::mesh;

struct Image {
    png_image header{};
    std::vector<png_byte> pixels;

    [[nodiscard]] std::array<int, 3> at(std::size_t x, std::size_t y) const {
        const std::size_t first = 3 * (y * header.width + x);
        return {pixels[first], pixels[first + 1], pixels[first + 2]};
    }
};

Image decode(const Bytes& file) {
    Image image;
    image.header.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_memory(&image.header, file.data(), file.size()), 0);
    image.header.format = PNG_FORMAT_RGB;
    image.pixels.resize(PNG_IMAGE_SIZE(image.header));
    EXPECT_NE(png_image_finish_read(&image.header, nullptr, image.pixels.data(), 0, nullptr), 0);
    return image;
}

/// The preview of two triangles, each a strip, from the front.
Image previewOf(const std::vector<unsigned int>& triangles, const std::vector<float>& positions) {
    const std::vector<mesh::IndexedPrimitive> parts{{mesh::TRIANGLE_STRIP, {triangles[0], triangles[1], triangles[2]}},
                                                    {mesh::TRIANGLE_STRIP, {triangles[3], triangles[4], triangles[5]}}};
    return decode(drawPreview(tool_test::pictureOf(triangles, parts, positions), glm::dvec3(0, 0, 1)));
}

constexpr std::array<int, 3> background{0xf4, 0xf5, 0xf7};

TEST(Preview, ShowsTheModelInTheMiddleInItsColours) {
    const Image image = previewOf({0, 1, 2, 2, 1, 3}, {-1, -1, 0, 1, -1, 0, -1, 1, 0, 1, 1, 0});
    EXPECT_EQ(image.header.width, previewWidth);
    EXPECT_EQ(image.header.height, previewHeight);
    EXPECT_EQ(image.at(0, 0), background);
    EXPECT_EQ(image.at(previewWidth - 1, previewHeight - 1), background);
    const auto lower = image.at(previewWidth / 2 - 60, previewHeight / 2 + 60);
    const auto upper = image.at(previewWidth / 2 + 60, previewHeight / 2 - 60);
    EXPECT_NE(lower, background);
    EXPECT_NE(upper, background);
    EXPECT_NE(lower, upper) << "two strips";
    EXPECT_NE(image.at(previewWidth / 2, previewHeight * 93 / 100), background) << "the model fills the height";
}

TEST(Preview, ShowsWhatIsInFront) {
    // A small triangle in front of a large one; both lie across the view's axis.
    const Image image = previewOf({0, 1, 2, 3, 4, 5}, {-3, -3, -1, 3, -3, -1, 0, 3, -1, -1, -1, 1, 1, -1, 1, 0, 1, 1});
    const auto front = image.at(previewWidth / 2, previewHeight / 2);
    const auto behind = image.at(previewWidth / 2, previewHeight * 85 / 100);
    EXPECT_NE(behind, background);
    EXPECT_NE(front, behind);
    const Image swapped =
        previewOf({3, 4, 5, 0, 1, 2}, {-3, -3, -1, 3, -3, -1, 0, 3, -1, -1, -1, 1, 1, -1, 1, 0, 1, 1});
    EXPECT_EQ(swapped.at(previewWidth / 2, previewHeight / 2), behind) << "the first strip's colour is in front now";
}

TEST(Preview, SurvivesModelsWithoutExtent) {
    const Image image = previewOf({0, 1, 2, 3, 4, 5}, std::vector<float>(18, 7));
    EXPECT_EQ(image.at(previewWidth / 2, previewHeight / 2), background);
}

} // namespace

#endif
