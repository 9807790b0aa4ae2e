// SPDX-License-Identifier: MIT
#include "support/OpenedFile.h"

#include <MarlCore/Files/streaming/CIOWriteBuffer.h>
#include <MarlCore/Files/streaming/WrappedIntegersImpl.h>
#include <MarlCore/platform/ByteOrder.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace support {
namespace {

using marl::CIOBuffer;
using marl::CIOWriteBuffer;
using marl::CIOWriteBufferStereo;

constexpr char kBytes[] = "0123456789";

std::string contents(const std::byte* block, int size) {
    return {reinterpret_cast<const char*>(block), static_cast<std::size_t>(size)};
}

TEST(IOWriteBuffer, HoldsTheLastWriteOnly) {
    CIOWriteBuffer buffer(8);
    EXPECT_EQ(buffer.getState(), CIOBuffer::kEmpty);
    EXPECT_EQ(buffer.getBufferBytesUsed(), 0);
    buffer.writeBytesToBuffer(kBytes, 8);
    buffer.writeBytesToBuffer(kBytes + 5, 3);
    EXPECT_EQ(buffer.getBufferSize(), 8);
    EXPECT_EQ(buffer.getBufferBytesUsed(), 3);
    EXPECT_EQ(contents(buffer.getBuffer(), 3), "567");
    buffer.setState(CIOBuffer::kFull);
    EXPECT_EQ(buffer.getState(), CIOBuffer::kFull);
}

TEST(IOWriteBuffer, RefusesWhatDoesNotFitInThisOrder) {
    struct Case {
        const void* data;
        int size;
        const char* message;  // of the second block with "second " and "data2"
    };
    const Case cases[] = {
        {nullptr, 0, "size must be positive (got 0)"},
        {kBytes, -7, "size must be positive (got -7)"},
        {nullptr, 9, "size must not be greater than buffer size (got 9, buffer is 8 bytes big)"},
        {nullptr, 8, "Error: data is null!"},
        {kBytes, 8, ""},
    };
    for (const auto& [data, size, message] : cases) {
        const std::string expected = message;
        CIOWriteBuffer single(8);
        EXPECT_EQ(messageThrownBy([&] { single.writeBytesToBuffer(data, size); }), expected);
        CIOWriteBufferStereo stereo(8);
        EXPECT_EQ(messageThrownBy([&] { stereo.writeBytesToBuffers(data, size, kBytes, 1); }), expected);
        const std::string second = expected.starts_with("size") ? "second " + expected
                                   : expected.empty()           ? ""
                                                                : "Error: data2 is null!";
        CIOWriteBufferStereo half(8);
        EXPECT_EQ(messageThrownBy([&] { half.writeBytesToBuffers(kBytes, 4, data, size); }), second);
        EXPECT_EQ(contents(half.getBuffer(), half.getBufferBytesUsed()), "0123") << "the first is written";
        EXPECT_EQ(half.getBufferBytesUsedTwo(), second.empty() ? size : 0);
        EXPECT_EQ(half.getBufferSizeTwo(), 8);
    }
}

/// The integer of `bytes` bytes, in the order that the conversion gives.
std::int32_t converted(float value, int bytes) {
    unsigned char out[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    marl::floatsToWrappedIntegers(&value, out, 1, bytes);
    if (bytes == 2) return static_cast<std::int16_t>(platform::loadHost<std::uint16_t>(out));
    if (bytes == 4) return static_cast<std::int32_t>(platform::loadHost<std::uint32_t>(out));
    EXPECT_EQ(out[3], 0xAA);
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(out[0]) << 24 | out[1] << 16 | out[2] << 8) >>
           8;
}

TEST(WrappedIntegers, RoundAndWrapAsStated) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    struct Case {
        float value;
        std::int32_t of16, of24, of32;
    };
    const Case cases[] = {
        {0, 0, 0, 0},
        {1, -32768, -8388608, 8388608},
        {-1, -32768, -8388608, -8388608},
        {0.5f, 16384, 4194304, 4194304},
        {1.5f, -16384, -4194304, 12582912},
        {-1.25f, 24576, 6291456, -10485760},
        {0.5f / 32768, 1, 128, 128},  // a half goes away from zero
        {-1.5f / 32768, -2, -384, -384},
        {0.5f / 8388608, 0, 0, 1},  // with 24 bits to the even neighbour
        {-1.5f / 8388608, 0, -2, -2},
        {2.5f / 8388608, 0, 2, 3},
        {65537.0f / 32768, 1, 256, 16777472},
        {512, 0, 0, 0},  // 2^32 at the scale of 24 bits
        {3e9f, 0, 0, 0},
        {std::numeric_limits<float>::max(), 0, 0, 0},
        {kInfinity, 0, 0, 0},
        {-kInfinity, 0, 0, 0},
        {std::numeric_limits<float>::quiet_NaN(), 0, 0, 0},
        {std::numeric_limits<float>::denorm_min(), 0, 0, 0},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(converted(row.value, 2), row.of16);
        EXPECT_EQ(converted(row.value, 3), row.of24);
        EXPECT_EQ(converted(row.value, 4), row.of32);
    }
    for (const int bytes : {0, 1, 5, -1})
        EXPECT_EQ(messageThrownBy([&] { converted(0, bytes); }),
                  "don't know how to convert to int from sample size = " + std::to_string(bytes));
}

TEST(WrappedIntegers, MayReplaceTheFloats) {
    std::minstd_rand random(3);
    std::uniform_real_distribution<float> any(-3, 3);
    std::vector<float> floats(1000);
    for (float& value : floats) value = any(random);
    for (const int bytes : {2, 3, 4}) {
        std::vector<float> inPlace = floats;
        std::vector<char> apart(1000 * static_cast<std::size_t>(bytes));
        marl::floatsToWrappedIntegers(floats.data(), apart.data(), 1000, bytes);
        marl::floatsToWrappedIntegers(inPlace.data(), inPlace.data(), 1000, bytes);
        EXPECT_EQ(std::memcmp(inPlace.data(), apart.data(), apart.size()), 0) << bytes << " bytes";
    }
}

}  // namespace
}  // namespace support
