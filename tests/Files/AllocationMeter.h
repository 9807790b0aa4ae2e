// SPDX-License-Identifier: MIT
/// \file
/// Counts the memory that a program holds: takes the place of malloc and new in the test program that it is
/// linked into, with the linker's --wrap.
#pragma once

#include <cstddef>

namespace support {

/// What was allocated since the meter was made. Counts what the program's own objects allocate, the library
/// among them, and what the C++ library allocates with `new`; all threads together. One at a time.
class AllocationMeter {
public:
    AllocationMeter() noexcept;
    AllocationMeter(const AllocationMeter&) = delete;
    AllocationMeter& operator=(const AllocationMeter&) = delete;

    /// The most bytes that were held at once, beyond those that were held when the meter was made.
    std::size_t mostLiveBytes() const noexcept;
    /// How many blocks were asked for, moved and given back.
    std::size_t calls() const noexcept;
    /// Bytes of the largest single block.
    std::size_t largestBlock() const noexcept;

private:
    std::ptrdiff_t m_liveBefore;
    std::size_t m_callsBefore;
};

}  // namespace support
