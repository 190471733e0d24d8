// SPDX-License-Identifier: Apache-2.0
// The operations for a program that loads the library at run time. Operations are C++ functions, so dlsym() knows them
// by their mangled symbols only; this header has each operation's symbol and type.
//
//     void* const pLibrary = dlopen("vendor.lumora.tv.vextvfactory@1.0-imp.so", RTLD_NOW);
//     fapi_load::Operations operations;
//     if (pLibrary == nullptr || fapi_load::load(pLibrary, operations) != nullptr) {
//         return 1;
//     }
//     operations.a_vextvfapi_sys_init();
//
// The program and the library must be built with the same C++ standard library: an event, and the records that hold
// std::string or std::vector, have another layout in each, and no symbol shows it.
#ifndef FAPI_LOAD_H
#define FAPI_LOAD_H

#include <dlfcn.h>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_common.h"
#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_info.h"
#include "a_vextvfapi_inpsrc.h"
#include "a_vextvfapi_net.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "fapi_operations.h"

namespace fapi_load {

// A pointer for each operation, under the operation's own name; null until load() has found it.
struct Operations {
#define FAPI_LOAD_MEMBER(name, symbol) decltype(&::name) name = nullptr;
    FAPI_OPERATIONS(FAPI_LOAD_MEMBER)
#undef FAPI_LOAD_MEMBER
};

// Looks every operation up in a library that dlopen() has returned. Returns null when all are there, else the symbol of
// the first one that this library lacks: an older library may lack newer operations. Their pointers are null then, and
// all others can be called. The pointers stay valid until the end of the process, even after dlclose().
inline const char* load(void* pLibrary, Operations& operations) {
    const char* pszMissing = nullptr;
#define FAPI_LOAD_LOOK_UP(name, symbol)                                               \
    operations.name = reinterpret_cast<decltype(&::name)>(::dlsym(pLibrary, symbol)); \
    if (operations.name == nullptr && pszMissing == nullptr) {                        \
        pszMissing = symbol;                                                          \
    }
    FAPI_OPERATIONS(FAPI_LOAD_LOOK_UP)
#undef FAPI_LOAD_LOOK_UP
    return pszMissing;
}

}  // namespace fapi_load

#endif
