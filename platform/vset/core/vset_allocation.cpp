// SPDX-License-Identifier: Apache-2.0
// Allocation functions of a host program: the nothrow forms can be made to fail, and the throwing ones of the library.
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>
#include <unwind.h>

#include "vset_call.h"

namespace {

void* allocate(std::size_t size) noexcept {
    return std::malloc(size != 0 ? size : 1);
}

bool isIn(const void* pAddress, const char* pszObject) {
    Dl_info stInfo = {};
    return dladdr(pAddress, &stInfo) != 0 && stInfo.dli_fname != nullptr &&
           std::strstr(stInfo.dli_fname, pszObject) != nullptr;
}

// The search for the object that asked for memory.
struct Search {
    bool bBegun;  // the standard library, which is passed over, has been reached
    const void* pCaller;
};

_Unwind_Reason_Code lookAt(_Unwind_Context* pFrame, void* pSearch) {
    Search& stSearch = *static_cast<Search*>(pSearch);
    stSearch.pCaller = reinterpret_cast<const void*>(_Unwind_GetIP(pFrame));
    const bool bStandard = isIn(stSearch.pCaller, "libstdc++");
    stSearch.bBegun = stSearch.bBegun || bStandard;
    return stSearch.bBegun && !bStandard ? _URC_END_OF_STACK : _URC_NO_REASON;
}

// Returns whether the library's code asked for memory, itself or by a text or list of the standard library.
bool isOfLibrary(const void* pCaller) {
    Search stSearch = {false, pCaller};
    if (isIn(pCaller, "libstdc++")) {
        _Unwind_Backtrace(lookAt, &stSearch);
    }
    return isIn(stSearch.pCaller, VSET_HOST_LIBRARY);
}

void* allocateOrThrow(std::size_t size, const void* pCaller) {
    // Looking for the caller and for a fault may allocate memory, too.
    static thread_local bool bLooking = false;
    if (vset::detail::isThrowingAllocationWatched() && !bLooking) {
        bLooking = true;
        const bool bFails = isOfLibrary(pCaller) && vset::detail::takeThrowingAllocationFault();
        bLooking = false;
        if (bFails) {
            throw std::bad_alloc();
        }
    }
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
    return allocateOrThrow(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size, __builtin_return_address(0));
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
