#include "tests/support/watchedheap.h"

#include <cstdlib>
#include <new>

namespace QELT::Testing {

std::size_t volatile allocations = 0;
long volatile allocationsLeft = -1;

namespace {

void* allocate(std::size_t size) noexcept {
    allocations = allocations + 1;
    if (allocationsLeft == 0) {
        return nullptr;
    }
    if (allocationsLeft > 0) {
        allocationsLeft = allocationsLeft - 1;
    }
    return std::malloc(size == 0 ? 1 : size);
}

} // namespace

} // namespace QELT::Testing

void* operator new(std::size_t size) {
    void* const block = QELT::Testing::allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t size) {
    return ::operator new(size);
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return QELT::Testing::allocate(size);
}

void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return QELT::Testing::allocate(size);
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

void operator delete(void* block, std::nothrow_t const&) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::nothrow_t const&) noexcept {
    std::free(block);
}
