// SPDX-License-Identifier: MIT
#include <MarlCore/platform/BitmapImageRep.h>
#include <MarlCore/platform/Color.h>
#include <MarlCore/platform/KeyedArchiver.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace platform {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();

TEST(BitmapImageRep, PadsItsRowsAndStartsClear) {
    const struct {
        unsigned width, bytesPerRow;
    } cases[] = {{1, 16}, {3, 16}, {4, 16}, {5, 32}, {1000, 4000}, {30001, 120016}};
    for (const auto& [width, bytesPerRow] : cases) {
        const BitmapImageRepRef bitmap = BitmapImageRep::create(width, 3);
        ASSERT_TRUE(bitmap) << width;
        EXPECT_EQ(bitmap->pixelsWide(), width);
        EXPECT_EQ(bitmap->pixelsHigh(), 3u);
        EXPECT_EQ(bitmap->bytesPerRow(), bytesPerRow) << width;
        EXPECT_EQ(bitmap->bytes().size(), bytesPerRow * 3);
        EXPECT_TRUE(
            std::ranges::all_of(bitmap->bytes(), [](std::byte byte) { return byte == std::byte{0}; }));
    }
}

TEST(BitmapImageRep, IsNotMadeWithoutPixelsOrWithTooMany) {
    constexpr unsigned kMost = std::numeric_limits<unsigned>::max();
    const unsigned sizes[][2] = {{0, 5},     {5, 0},        {kMost, kMost},       {kMost, 1},
                                 {1, kMost}, {1u << 30, 4}, {1u << 16, 1u << 16}, {4, (1u << 27) + 1}};
    for (const auto& [width, height] : sizes)
        EXPECT_EQ(BitmapImageRep::create(width, height), nullptr) << width << "x" << height;
}

TEST(Color, IsRedGreenBlueAlphaInMemory) {
    const struct {
        Color color;
        int bytes[4];
    } cases[] = {
        {Color(1, 0, 0), {255, 0, 0, 255}},
        {Color(0, 1, 0, 0), {0, 255, 0, 0}},
        {Color(0.999f, 0.5f, 0.1f, 0.25f), {254, 127, 25, 63}},  // cut off, not rounded
        {Color(-1, 2, kNaN, kInf), {0, 255, 0, 255}},
    };
    for (const auto& [color, bytes] : cases) {
        const BitmapImageRepRef bitmap = BitmapImageRep::create(3, 2);
        bitmap->pixels()[bitmap->bytesPerRow() / 4 + 2] = color.pixel();  // row 1, column 2
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(std::to_integer<int>(bitmap->bytes()[16 + 8 + i]), bytes[i]) << i;
    }
}

TEST(Color, IsInRangeFromAnyArchive) {
    const PropertyList::Dictionary parts = {{"red", 1e300}, {"green", -1e300}, {"blue", double{kNaN}}};
    const std::string xml =
        PropertyList(PropertyList::Dictionary{{"class", "Color"}, {"parts", parts}}).toXML();
    EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithData<Color>(std::as_bytes(std::span(xml))),
              Color(1, 0, 0, 0));
}

}  // namespace
}  // namespace platform
