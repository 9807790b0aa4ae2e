// SPDX-License-Identifier: MIT
#include "AllocationMeter.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {

std::atomic<std::ptrdiff_t> liveBytes{0};
std::atomic<std::ptrdiff_t> mostLive{0};
std::atomic<std::size_t> largest{0};
std::atomic<std::size_t> calls{0};

template <typename Number>
void raiseTo(std::atomic<Number>& maximum, Number value) noexcept {
    Number before = maximum.load();
    while (before < value && !maximum.compare_exchange_weak(before, value)) {
    }
}

/// Counts a new block by what it really takes, which free finds again.
void* counted(void* block) noexcept {
    ++calls;
    if (!block) return nullptr;
    const std::size_t size = ::malloc_usable_size(block);
    const auto bytes = static_cast<std::ptrdiff_t>(size);
    raiseTo(largest, size);
    raiseTo(mostLive, liveBytes.fetch_add(bytes) + bytes);
    return block;
}

void discount(void* block) noexcept {
    ++calls;
    liveBytes.fetch_sub(static_cast<std::ptrdiff_t>(::malloc_usable_size(block)));
}

void* orThrow(void* block) {
    if (!block) throw std::bad_alloc();
    return block;
}

std::size_t number(std::align_val_t alignment) noexcept {
    return static_cast<std::size_t>(alignment);
}

std::size_t roundedUp(std::size_t size, std::size_t multiple) noexcept {
    return (size + multiple - 1) / multiple * multiple;  // aligned_alloc wants whole multiples
}

}  // namespace

namespace support {

AllocationMeter::AllocationMeter() noexcept : m_liveBefore(liveBytes), m_callsBefore(::calls) {
    mostLive = m_liveBefore;
    largest = 0;
}

std::size_t AllocationMeter::mostLiveBytes() const noexcept {
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(mostLive - m_liveBefore, 0));
}

std::size_t AllocationMeter::calls() const noexcept {
    return ::calls - m_callsBefore;
}

std::size_t AllocationMeter::largestBlock() const noexcept {
    return largest;
}

}  // namespace support

// The linker calls these wherever an object of the program says malloc, and the real ones by their other
// name. Under a sanitizer the real ones are the sanitizer's.
extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __real_aligned_alloc(std::size_t alignment, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
    return counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
    const std::size_t before = block ? ::malloc_usable_size(block) : 0;
    void* const moved = __real_realloc(block, size);
    if (moved) liveBytes.fetch_sub(static_cast<std::ptrdiff_t>(before));
    return counted(moved);
}

void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
    return counted(__real_aligned_alloc(alignment, size));
}

void __wrap_free(void* block) {
    if (block) discount(block);
    __real_free(block);
}

}  // extern "C"

// All forms: a sanitizer has some of its own, which would not count.
void* operator new(std::size_t size) {
    return orThrow(std::malloc(size ? size : 1));
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(std::aligned_alloc(number(alignment), roundedUp(size, number(alignment))));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size ? size : 1);
}

void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
