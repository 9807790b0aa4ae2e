// SPDX-License-Identifier: MIT
#include "support/Bytes.h"

#include <bit>
#include <cmath>
#include <stdexcept>

namespace support {
namespace {

/// The bits of `value`, which must fit `bits` as a signed or an unsigned number.
std::uint64_t fitting(std::int64_t value, int bits) {
    const std::int64_t limit = std::int64_t{1} << bits;
    if (value >= limit || value < -limit / 2)
        throw std::out_of_range(std::to_string(value) + " does not fit a field of " + std::to_string(bits) +
                                " bits");
    return static_cast<std::uint64_t>(value);
}

std::string_view checkedID(std::string_view id) {
    if (id.size() != 4) throw std::length_error("a chunk has an identifier of four characters");
    return id;
}

}  // namespace

Bytes& Bytes::big(std::uint64_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        m_bytes += static_cast<char>(static_cast<unsigned char>(value >> shift));
    return *this;
}

Bytes& Bytes::little(std::uint64_t value, int width) {
    for (int shift = 0; shift < 8 * width; shift += 8)
        m_bytes += static_cast<char>(static_cast<unsigned char>(value >> shift));
    return *this;
}

Bytes& Bytes::byte(std::int64_t value) {
    return big(fitting(value, 8), 1);
}
Bytes& Bytes::big16(std::int64_t value) {
    return big(fitting(value, 16), 2);
}
Bytes& Bytes::big32(std::int64_t value) {
    return big(fitting(value, 32), 4);
}
Bytes& Bytes::little16(std::int64_t value) {
    return little(fitting(value, 16), 2);
}
Bytes& Bytes::little32(std::int64_t value) {
    return little(fitting(value, 32), 4);
}
Bytes& Bytes::big64(std::uint64_t value) {
    return big(value, 8);
}
Bytes& Bytes::little64(std::uint64_t value) {
    return little(value, 8);
}

Bytes& Bytes::extended(double value) {
    if (value == 0) return zeros(10);
    // value = fraction * 2^exponent with 1/2 <= fraction < 1; the format wants 1 <= mantissa < 2, its leading
    // one included, and adds 16383 to the exponent.
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);
    big16(exponent - 1 + 16383);
    return big64(static_cast<std::uint64_t>(std::ldexp(fraction, 64)));
}

Bytes& Bytes::littleFloat(float value) {
    return little(std::bit_cast<std::uint32_t>(value), 4);
}

Bytes& Bytes::text(std::string_view characters) {
    m_bytes += characters;
    return *this;
}

Bytes& Bytes::field(std::string_view characters, std::size_t width) {
    if (characters.size() > width) throw std::length_error("text is longer than its field");
    return text(characters).zeros(width - characters.size());
}

Bytes& Bytes::zeros(std::size_t count) {
    m_bytes.append(count, '\0');
    return *this;
}

Bytes& Bytes::append(const Bytes& other) {
    return text(std::string(other.view()));  // a copy: `other` may be this object
}

Bytes& Bytes::bigChunk(std::string_view id, const Bytes& body) {
    return bigChunkClaiming(id, static_cast<std::int64_t>(body.size()), body).zeros(body.size() % 2);
}
Bytes& Bytes::littleChunk(std::string_view id, const Bytes& body) {
    return littleChunkClaiming(id, static_cast<std::int64_t>(body.size()), body).zeros(body.size() % 2);
}

Bytes& Bytes::bigChunkClaiming(std::string_view id, std::int64_t claimedSize, const Bytes& body) {
    return text(checkedID(id)).big32(claimedSize).append(body);
}
Bytes& Bytes::littleChunkClaiming(std::string_view id, std::int64_t claimedSize, const Bytes& body) {
    return text(checkedID(id)).little32(claimedSize).append(body);
}

std::size_t Bytes::offsetOf(std::string_view pattern) const {
    const std::size_t offset = m_bytes.find(pattern);
    if (offset == std::string::npos) throw std::out_of_range("no such bytes: " + std::string(pattern));
    return offset;
}

Bytes& Bytes::overwrite(std::size_t offset, const Bytes& bytes) {
    if (offset > size() || bytes.size() > size() - offset) throw std::out_of_range("no bytes to overwrite");
    m_bytes.replace(offset, bytes.size(), std::string(bytes.view()));
    return *this;
}

}  // namespace support
