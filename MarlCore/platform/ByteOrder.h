// SPDX-License-Identifier: MIT
/// \file
/// The one way in which multi-byte integers go into and out of files and sample buffers.
///
/// Big means most significant byte first, little least significant first; "host" is whichever this processor
/// uses. No address needs to be aligned. Signed fields are cast from the unsigned result (two's complement).
/// [any thread]
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace platform {

static_assert(std::endian::native == std::endian::big || std::endian::native == std::endian::little);

constexpr std::uint16_t reverseBytes(std::uint16_t value) noexcept {
    return __builtin_bswap16(value);
}
constexpr std::uint32_t reverseBytes(std::uint32_t value) noexcept {
    return __builtin_bswap32(value);
}
constexpr std::uint64_t reverseBytes(std::uint64_t value) noexcept {
    return __builtin_bswap64(value);
}

/// Any trivially copyable value in host order. Reads `sizeof(Value)` bytes.
template <class Value>
Value loadHost(const void* bytes) noexcept {
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// Writes `sizeof(Value)` bytes in host order.
template <class Value>
void storeHost(void* bytes, Value value) noexcept {
    std::memcpy(bytes, &value, sizeof value);
}

/// Host order to the named order, or back: the same exchange both ways.
template <std::endian order, class Word>
constexpr Word exchangeHost(Word value) noexcept {
    return order == std::endian::native ? value : reverseBytes(value);
}

inline std::uint16_t loadBig16(const void* bytes) noexcept {
    return exchangeHost<std::endian::big>(loadHost<std::uint16_t>(bytes));
}
inline std::uint32_t loadBig32(const void* bytes) noexcept {
    return exchangeHost<std::endian::big>(loadHost<std::uint32_t>(bytes));
}
inline std::uint64_t loadBig64(const void* bytes) noexcept {
    return exchangeHost<std::endian::big>(loadHost<std::uint64_t>(bytes));
}
inline std::uint16_t loadLittle16(const void* bytes) noexcept {
    return exchangeHost<std::endian::little>(loadHost<std::uint16_t>(bytes));
}
inline std::uint32_t loadLittle32(const void* bytes) noexcept {
    return exchangeHost<std::endian::little>(loadHost<std::uint32_t>(bytes));
}
inline std::uint64_t loadLittle64(const void* bytes) noexcept {
    return exchangeHost<std::endian::little>(loadHost<std::uint64_t>(bytes));
}

inline void storeBig16(void* bytes, std::uint16_t value) noexcept {
    storeHost(bytes, exchangeHost<std::endian::big>(value));
}
inline void storeBig32(void* bytes, std::uint32_t value) noexcept {
    storeHost(bytes, exchangeHost<std::endian::big>(value));
}
inline void storeBig64(void* bytes, std::uint64_t value) noexcept {
    storeHost(bytes, exchangeHost<std::endian::big>(value));
}
inline void storeLittle16(void* bytes, std::uint16_t value) noexcept {
    storeHost(bytes, exchangeHost<std::endian::little>(value));
}
inline void storeLittle32(void* bytes, std::uint32_t value) noexcept {
    storeHost(bytes, exchangeHost<std::endian::little>(value));
}
inline void storeLittle64(void* bytes, std::uint64_t value) noexcept {
    storeHost(bytes, exchangeHost<std::endian::little>(value));
}

}  // namespace platform
