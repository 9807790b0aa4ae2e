// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/Adapters.h>
#include <MarlCore/foundation/CBuffer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

namespace halyard {
namespace {

constexpr std::size_t kMiB = std::size_t{1} << 20;

TEST(Buffer, OffersAllItsBytesAlignedAndZeroedOnRequest) {
    for (const bool zeroed : {false, true}) {
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{1}, std::size_t{4097}, 8 * kMiB, 8 * kMiB + 1}) {
            const CBufferRef buffer(new CBuffer(size, zeroed));
            EXPECT_EQ(buffer->getSize(), size);
            EXPECT_EQ(buffer->span().size(), size);
            ASSERT_NE(buffer->getPtr(), nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer->getPtr()) % alignof(std::max_align_t), 0u);
            if (zeroed) {
                EXPECT_TRUE(
                    std::ranges::all_of(buffer->span(), [](std::byte b) { return b == std::byte{}; }));
            }
            std::ranges::fill(buffer->span(), std::byte{0xA5});
            EXPECT_TRUE(size == 0 || buffer->getCharPtr()[size - 1] == '\xA5');
        }
    }
}

TEST(Buffer, CopiesItsInitialBytes) {
    std::vector<unsigned char> bytes(1000);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    const std::vector<unsigned char> original = bytes;
    for (const bool zeroed : {false, true}) {
        CBuffer buffer(bytes.data(), bytes.size(), zeroed);
        bytes.assign(bytes.size(), 0);
        EXPECT_EQ(std::memcmp(buffer.getPtr(), original.data(), original.size()), 0);
        bytes = original;
    }
}

TEST(Buffer, MadeFromNoBytesIsZeroedOnRequest) {
    CBuffer zeroed(nullptr, 64, true);
    EXPECT_TRUE(std::ranges::all_of(zeroed.span(), [](std::byte b) { return b == std::byte{}; }));
    const CBuffer empty(nullptr, 0, false);
    EXPECT_EQ(empty.getSize(), 0u);
}

TEST(Buffer, TooLargeForTheMachineIsAnException) {
    constexpr std::uint64_t kMost = SIZE_MAX;
    for (const bool zeroed : {false, true}) {
        for (const std::uint64_t size : {kMost, kMost - kMiB, kMost - 4 * kMiB, kMost / 2 + 1, UINT64_MAX}) {
            try {
                const CBuffer buffer(size, zeroed);
                FAIL() << size << " bytes";
            } catch (const CException& exception) {
                EXPECT_EQ(exception.getType(), kInternalError);
                EXPECT_NE(exception.getMessage().find(std::to_string(size)), std::string::npos);
            }
        }
    }
}

TEST(Handle, KeepsItsBufferAlive) {
    CBufferRef contents(new CBuffer(4, true));
    CHandleRef handle(new CHandle(contents));
    EXPECT_EQ(handle->getHandle(), contents);
    EXPECT_EQ(contents->CountReferences(), 2);
    handle = nullptr;
    EXPECT_EQ(contents->CountReferences(), 1);
    EXPECT_EQ(CHandleRef(new CHandle(nullptr))->getHandle(), nullptr);
}

}  // namespace
}  // namespace halyard
