// SPDX-License-Identifier: Apache-2.0
// The registered callback of one module, and the delivery of an event to it.
#ifndef FAPI_EVENT_SLOT_H
#define FAPI_EVENT_SLOT_H

#include "base/fapi_mutex.h"
#include "fapi_core.h"

namespace fapi {

class EventSlot {
public:
    constexpr EventSlot() = default;

    // Returns 0. A null callback is stored as it is.
    int set(fapi_core::VexTvFApiEventCallback_t callback) FAPI_EXCLUDES(_mutex);

    // The callback's result, or -1 when none is registered or it throws. The mutex is held while the callback runs:
    // after set() has returned, no call into the former callback starts any more.
    int notify(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
               const fapi_core::VexTvFApiEventCommonObject& b, const fapi_core::VexTvFApiEventCommonObject& c,
               const fapi_core::VexTvFApiEventCommonObject& d) FAPI_EXCLUDES(_mutex);

private:
    Mutex _mutex;
    fapi_core::VexTvFApiEventCallback_t _callback FAPI_GUARDED_BY(_mutex) = nullptr;
};

}  // namespace fapi

// Defines the registration state of a module and its three exported event operations, by the names given.
// NOLINTBEGIN(bugprone-macro-parentheses): they are names of functions
#define FAPI_DEFINE_MODULE_EVENTS(slot, reg_callback, unreg_callback, nty_event)                                  \
    static fapi::EventSlot slot;                                                                                  \
                                                                                                                  \
    int reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {                                              \
        return slot.set(callback);                                                                                \
    }                                                                                                             \
                                                                                                                  \
    int unreg_callback() {                                                                                        \
        return slot.set(nullptr);                                                                                 \
    }                                                                                                             \
                                                                                                                  \
    int nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,                             \
                  const fapi_core::VexTvFApiEventCommonObject& b, const fapi_core::VexTvFApiEventCommonObject& c, \
                  const fapi_core::VexTvFApiEventCommonObject& d) {                                               \
        return slot.notify(event, a, b, c, d);                                                                    \
    }
// NOLINTEND(bugprone-macro-parentheses)

#endif
