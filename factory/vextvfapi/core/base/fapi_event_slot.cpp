// SPDX-License-Identifier: Apache-2.0
// Registration and delivery of module events.
#include "base/fapi_event_slot.h"

namespace fapi {

int EventSlot::set(fapi_core::VexTvFApiEventCallback_t callback) {
    const MutexLock lock(_mutex);
    _callback = callback;
    return 0;
}

int EventSlot::notify(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                      const fapi_core::VexTvFApiEventCommonObject& b, const fapi_core::VexTvFApiEventCommonObject& c,
                      const fapi_core::VexTvFApiEventCommonObject& d) {
    const MutexLock lock(_mutex);
    if (_callback == nullptr) {
        return -1;
    }
    try {
        return _callback(event, a, b, c, d);
    } catch (...) {
        // The callback is the host's code; its exception must end neither a worker thread nor the caller.
        return -1;
    }
}

}  // namespace fapi
