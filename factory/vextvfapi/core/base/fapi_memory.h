// SPDX-License-Identifier: Apache-2.0
// Memory of the C library.
#ifndef FAPI_MEMORY_H
#define FAPI_MEMORY_H

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace fapi {

struct Free {
    void operator()(void* pMemory) const { std::free(pMemory); }
};

// Allocates zeroed memory; null when there is none. The kernel provides pages on first use, so a huge length that the
// chip refuses costs nothing. A size of 0 is no failure.
inline std::unique_ptr<unsigned char, Free> allocateZeroes(std::size_t size) {
    return std::unique_ptr<unsigned char, Free>(static_cast<unsigned char*>(std::calloc(size != 0 ? size : 1, 1)));
}

}  // namespace fapi

#endif
