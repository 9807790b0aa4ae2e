// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CBuffer.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

namespace halyard {
namespace {

/// A file's worth of samples is touched once from end to end: with pages of 4 KiB the faults of a fresh block
/// cost more than the conversion that fills it.
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kWorthHugePages = 4 * kHugePage;

void* allocateLarge(std::size_t size) noexcept {
    if (size > SIZE_MAX - kHugePage) return nullptr;
    const std::size_t rounded = (size + kHugePage - 1) / kHugePage * kHugePage;
    void* const block = std::aligned_alloc(kHugePage, rounded);
    if (block) ::madvise(block, rounded, MADV_HUGEPAGE);
    return block;
}

std::byte* allocate(std::uint64_t bytes, bool zeroed) {
    // Differences of pointers into the block must be counted too.
    const bool isCountable = bytes <= static_cast<std::uint64_t>(PTRDIFF_MAX);
    const auto size = static_cast<std::size_t>(bytes);
    void* const block = !isCountable              ? nullptr
                        : zeroed                  ? std::calloc(size ? size : 1, 1)
                        : size >= kWorthHugePages ? allocateLarge(size)
                                                  : std::malloc(size ? size : 1);
    if (!block)
        throw CException(kInternalError, "not enough memory for a buffer of %llu bytes",
                         static_cast<unsigned long long>(bytes));
    return static_cast<std::byte*>(block);
}

}  // namespace

CBuffer::CBuffer(std::uint64_t size, bool zeroed)
    : m_bytes(allocate(size, zeroed)), m_size(static_cast<std::size_t>(size)) {}

CBuffer::CBuffer(const void* bytes, std::size_t size, bool zeroed) : CBuffer(size, zeroed && !bytes) {
    if (bytes && size != 0) std::memcpy(m_bytes, bytes, size);
}

CBuffer::~CBuffer() {
    std::free(m_bytes);
}

}  // namespace halyard
