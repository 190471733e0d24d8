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

    // Registers the callback; null registers none. Returns 0.
    int set(fapi_core::VexTvFApiEventCallback_t callback) FAPI_EXCLUDES(_mutex);

    // Calls the callback and returns its result; -1 when none is registered or it throws. The mutex is held while the
    // callback runs: once set() has returned, no call into the former callback starts.
    int notify(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
               const fapi_core::VexTvFApiEventCommonObject& b, const fapi_core::VexTvFApiEventCommonObject& c,
               const fapi_core::VexTvFApiEventCommonObject& d) FAPI_EXCLUDES(_mutex);

private:
    Mutex _mutex;
    fapi_core::VexTvFApiEventCallback_t _callback FAPI_GUARDED_BY(_mutex) = nullptr;
};

}  // namespace fapi

#endif
