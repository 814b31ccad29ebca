#include "tests/support/watchedheap.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

/// A checker of memory that puts its own operators into a running program leaves weak ones alone, so that
/// these count and fail there, too. They win over the standard library's either way. Clang links its
/// checker's, weak as well, in front of ours.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QELT_WATCHED
#endif
#endif
#ifndef QELT_WATCHED
#define QELT_WATCHED __attribute__((weak))
#endif

namespace QELT::Testing {

std::size_t volatile allocations = 0;
long volatile allocationsLeft = -1;
std::size_t volatile liveBytes = 0;
std::size_t volatile peakBytes = 0;

namespace {

void* allocate(std::size_t size) noexcept {
    allocations = allocations + 1;
    if (allocationsLeft == 0) {
        return nullptr;
    }
    if (allocationsLeft > 0) {
        allocationsLeft = allocationsLeft - 1;
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) {
        liveBytes = liveBytes + malloc_usable_size(block);
        peakBytes = liveBytes > peakBytes ? liveBytes : peakBytes;
    }
    return block;
}

void release(void* block) noexcept {
    if (block != nullptr) {
        liveBytes = liveBytes - malloc_usable_size(block);
        std::free(block);
    }
}

} // namespace

} // namespace QELT::Testing

QELT_WATCHED void* operator new(std::size_t size) {
    void* const block = QELT::Testing::allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

QELT_WATCHED void* operator new[](std::size_t size) {
    return ::operator new(size);
}

QELT_WATCHED void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return QELT::Testing::allocate(size);
}

QELT_WATCHED void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return QELT::Testing::allocate(size);
}

QELT_WATCHED void operator delete(void* block) noexcept {
    QELT::Testing::release(block);
}

QELT_WATCHED void operator delete[](void* block) noexcept {
    QELT::Testing::release(block);
}

QELT_WATCHED void operator delete(void* block, std::size_t) noexcept {
    QELT::Testing::release(block);
}

QELT_WATCHED void operator delete[](void* block, std::size_t) noexcept {
    QELT::Testing::release(block);
}

QELT_WATCHED void operator delete(void* block, std::nothrow_t const&) noexcept {
    QELT::Testing::release(block);
}

QELT_WATCHED void operator delete[](void* block, std::nothrow_t const&) noexcept {
    QELT::Testing::release(block);
}
