// SPDX-License-Identifier: MIT
#include <MarlCore/platform/ByteOrder.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>

namespace platform {
namespace {

constexpr std::size_t kLastOffset = 8;
using Bytes = std::array<unsigned char, kLastOffset + 8>;

/// Bytes 0x81 0x82 ... from `offset` on, so that sign extension or a wrong offset shows in every field.
Bytes risingBytesFrom(std::size_t offset) {
    Bytes bytes{};
    for (std::size_t i = 0; i < 8; ++i) bytes.at(offset + i) = static_cast<unsigned char>(0x81 + i);
    return bytes;
}

/// What `store` leaves of a buffer of 0xEE: the bytes it writes and its guards.
template <class Word>
Bytes stored(void (*store)(void*, Word), std::size_t offset, Word value) {
    Bytes bytes;
    bytes.fill(0xEE);
    store(bytes.data() + offset, value);
    return bytes;
}

/// `risingBytesFrom(offset)` cut to `width` bytes between guards, in either order.
Bytes guarded(std::size_t offset, std::size_t width, bool reversed) {
    Bytes bytes;
    bytes.fill(0xEE);
    for (std::size_t i = 0; i < width; ++i)
        bytes.at(offset + (reversed ? width - 1 - i : i)) = static_cast<unsigned char>(0x81 + i);
    return bytes;
}

TEST(ByteOrder, LoadsTheNamedOrderFromAnyAddress) {
    for (std::size_t offset = 0; offset <= kLastOffset; ++offset) {
        const Bytes bytes = risingBytesFrom(offset);
        const void* at = bytes.data() + offset;
        EXPECT_EQ(loadBig16(at), 0x8182u);
        EXPECT_EQ(loadBig32(at), 0x81828384u);
        EXPECT_EQ(loadBig64(at), 0x8182838485868788u);
        EXPECT_EQ(loadLittle16(at), 0x8281u);
        EXPECT_EQ(loadLittle32(at), 0x84838281u);
        EXPECT_EQ(loadLittle64(at), 0x8887868584838281u);
    }
}

TEST(ByteOrder, StoresTheNamedOrderAtAnyAddressAndNothingBeside) {
    for (std::size_t offset = 0; offset <= kLastOffset; ++offset) {
        EXPECT_EQ(stored<std::uint16_t>(storeBig16, offset, 0x8182u), guarded(offset, 2, false));
        EXPECT_EQ(stored<std::uint32_t>(storeBig32, offset, 0x81828384u), guarded(offset, 4, false));
        EXPECT_EQ(stored<std::uint64_t>(storeBig64, offset, 0x8182838485868788u), guarded(offset, 8, false));
        EXPECT_EQ(stored<std::uint16_t>(storeLittle16, offset, 0x8182u), guarded(offset, 2, true));
        EXPECT_EQ(stored<std::uint32_t>(storeLittle32, offset, 0x81828384u), guarded(offset, 4, true));
        EXPECT_EQ(stored<std::uint64_t>(storeLittle64, offset, 0x8182838485868788u),
                  guarded(offset, 8, true));
    }
}

TEST(ByteOrder, ReversesEachWidth) {
    static_assert(reverseBytes(std::uint16_t{0x8102}) == 0x0281);
    static_assert(reverseBytes(std::uint32_t{0x81020304}) == 0x04030281);
    static_assert(reverseBytes(std::uint64_t{0x8102030405060708}) == 0x0807060504030281);
}

}  // namespace
}  // namespace platform
