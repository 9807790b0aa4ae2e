// SPDX-License-Identifier: MIT
/// \file
/// A shared block of bytes.
#pragma once

#include <MarlCore/foundation/CSharedObjectRef.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace halyard {

/// Owns a fixed number of bytes, aligned for any fundamental type. What they mean is the owners' agreement,
/// and so is who writes them when. [one thread at a time]
class MARLCORE_EXPORT CBuffer : public CSharedObject {
public:
    /// `size` bytes: all zero when `zeroed`, otherwise to be written before they are read.
    /// Throws `CException` (internal error) when there is no memory for them; 64 bits on every host, so that
    /// no count of samples turns into a smaller block.
    CBuffer(std::uint64_t size, bool zeroed);

    /// A copy of `size` bytes at `bytes`, followed by nothing. With `zeroed` and null `bytes`: zero bytes.
    CBuffer(const void* bytes, std::size_t size, bool zeroed);

    ~CBuffer() override;

    std::byte* getPtr() noexcept { return m_bytes; }
    const std::byte* getPtr() const noexcept { return m_bytes; }
    char* getCharPtr() noexcept { return reinterpret_cast<char*>(m_bytes); }
    std::size_t getSize() const noexcept { return m_size; }
    std::span<std::byte> span() noexcept { return {m_bytes, m_size}; }

private:
    std::byte* m_bytes;
    std::size_t m_size;
};

using CBufferRef = CSharedObjectRef<CBuffer>;

}  // namespace halyard
