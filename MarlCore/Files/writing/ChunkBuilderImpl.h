// SPDX-License-Identifier: MIT
/// \file
/// Lays out chunks for the writers.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace marl {

/// A growing row of fields and chunks in the byte order of one format. Every operation but `addSpace` returns
/// this object, so that a layout reads from top to bottom.
class ChunkBuilder {
public:
    explicit ChunkBuilder(std::endian order) noexcept : m_order(order) {}

    ChunkBuilder& add16(std::uint16_t value);
    ChunkBuilder& add32(std::uint32_t value);
    ChunkBuilder& addText(std::string_view characters);
    /// `text`, of at most `width` bytes, filled up with zero bytes.
    ChunkBuilder& addField(std::string_view text, std::size_t width);
    ChunkBuilder& addZeros(std::size_t count);
    /// Identifier, size, body, and a zero byte behind a body of odd size, which the size does not count.
    ChunkBuilder& addChunk(std::string_view id, const ChunkBuilder& body);

    /// `count` zero bytes to be filled in; valid until the next operation.
    std::byte* addSpace(std::size_t count);

    std::size_t size() const noexcept { return m_bytes.size(); }
    const std::vector<std::byte>& bytes() const noexcept { return m_bytes; }

private:
    std::endian m_order;
    std::vector<std::byte> m_bytes;
};

}  // namespace marl
