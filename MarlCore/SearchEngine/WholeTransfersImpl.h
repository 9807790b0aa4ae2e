// SPDX-License-Identifier: MIT
/// \file
/// Reads and writes that go on until all bytes are through, since the system may do less at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace marl {

/// Writes all `bytes` at byte `offset` of the file. False, with errno set, when the system refuses; some may
/// have been written then.
bool writeWholeAt(int descriptor, std::span<const std::byte> bytes, std::int64_t offset) noexcept;

/// Fills `bytes` from byte `offset` of the file on. Returns how many it held, or -1 with errno set.
std::int64_t readWholeAt(int descriptor, std::span<std::byte> bytes, std::int64_t offset) noexcept;

}  // namespace marl
