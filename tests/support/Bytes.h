// SPDX-License-Identifier: MIT
/// \file
/// Builds the contents of a file field by field, independently of the library's own byte-order helpers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace support {

/// A growing row of bytes. Every operation appends and returns this object, so that a layout reads from top
/// to bottom: `Bytes().text("COMM").big32(18).big16(2)`.
class Bytes {
public:
    Bytes() = default;
    explicit Bytes(std::string_view contents) : m_bytes(contents) {}

    /// `value` as a signed or an unsigned field of that width; one that fits neither throws
    /// `std::out_of_range`.
    Bytes& byte(std::int64_t value);
    Bytes& big16(std::int64_t value);
    Bytes& big32(std::int64_t value);
    Bytes& little16(std::int64_t value);
    Bytes& little32(std::int64_t value);

    /// All 64 bits of `value`.
    Bytes& big64(std::uint64_t value);
    Bytes& little64(std::uint64_t value);

    /// `value` (finite, not negative) as an IEEE number of 80 bits, big-endian.
    Bytes& extended(double value);
    /// `value` as an IEEE number of 32 bits, little-endian.
    Bytes& littleFloat(float value);

    /// The characters, with no zero byte behind them.
    Bytes& text(std::string_view characters);
    /// The characters, filled up with zero bytes to `width`; longer text throws `std::length_error`.
    Bytes& field(std::string_view characters, std::size_t width);
    Bytes& zeros(std::size_t count);
    Bytes& append(const Bytes& other);

    /// Identifier, size and body of a chunk, and a zero byte behind a body of odd size, which the size does
    /// not count. `id` has four characters. "big" chunks are those of AIFF files, "little" ones of RIFF
    /// files.
    Bytes& bigChunk(std::string_view id, const Bytes& body);
    Bytes& littleChunk(std::string_view id, const Bytes& body);

    /// The same for a damaged file: the size reads `claimedSize`, and no byte is added behind the body.
    Bytes& bigChunkClaiming(std::string_view id, std::int64_t claimedSize, const Bytes& body);
    Bytes& littleChunkClaiming(std::string_view id, std::int64_t claimedSize, const Bytes& body);

    std::size_t size() const noexcept { return m_bytes.size(); }
    bool empty() const noexcept { return m_bytes.empty(); }
    std::string_view view() const noexcept { return m_bytes; }

    /// The first `count` bytes (all of them when there are fewer): a file cut off there.
    Bytes first(std::size_t count) const { return Bytes(view().substr(0, count)); }

    /// The offset of the first `pattern`, for naming a place in a built file. Throws `std::out_of_range` when
    /// there is none.
    std::size_t offsetOf(std::string_view pattern) const;

    /// Overwrites bytes from `offset` on. Throws `std::out_of_range` when they do not all exist.
    Bytes& overwrite(std::size_t offset, const Bytes& bytes);

    friend bool operator==(const Bytes&, const Bytes&) = default;

private:
    Bytes& big(std::uint64_t value, int width);
    Bytes& little(std::uint64_t value, int width);

    std::string m_bytes;
};

}  // namespace support
