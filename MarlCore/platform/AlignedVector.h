// SPDX-License-Identifier: MIT
/// \file
/// Vectors that start on a cache line, for tables that kernels load a vector register at a time.
#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace platform {

/// Allocates at addresses that are multiples of 64 bytes: no load of a whole register, from a place that is a
/// multiple of its size into the table, touches two cache lines.
template <class T>
struct CacheLineAllocator {
    using value_type = T;
    static constexpr std::align_val_t kAlignment{64};

    CacheLineAllocator() = default;
    template <class U>
    CacheLineAllocator(const CacheLineAllocator<U>&) noexcept {}

    T* allocate(std::size_t count) { return static_cast<T*>(::operator new(count * sizeof(T), kAlignment)); }
    void deallocate(T* address, std::size_t) noexcept { ::operator delete(address, kAlignment); }

    bool operator==(const CacheLineAllocator&) const = default;
};

template <class T>
using AlignedVector = std::vector<T, CacheLineAllocator<T>>;

}  // namespace platform
