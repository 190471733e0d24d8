// SPDX-License-Identifier: Apache-2.0
// Allocation functions of a host program, whose nothrow forms can be made to fail.
#include <cstdlib>
#include <new>

#include "vset_call.h"

namespace {

void* allocate(std::size_t size) noexcept {
    return std::malloc(size != 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    void* pMemory = allocate(size);
    if (pMemory == nullptr) {
        throw std::bad_alloc();
    }
    return pMemory;
}

void* allocateUnlessFault(std::size_t size) noexcept {
    // The search for a fault may allocate memory itself, but only with the throwing forms.
    return vset::detail::takeAllocationFault() ? nullptr : allocate(size);
}

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocateUnlessFault(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocateUnlessFault(size);
}
void operator delete(void* pMemory) noexcept {
    std::free(pMemory);
}
void operator delete[](void* pMemory) noexcept {
    std::free(pMemory);
}
void operator delete(void* pMemory, std::size_t) noexcept {
    std::free(pMemory);
}
void operator delete[](void* pMemory, std::size_t) noexcept {
    std::free(pMemory);
}
