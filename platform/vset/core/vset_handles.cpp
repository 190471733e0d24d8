// SPDX-License-Identifier: Apache-2.0
// Handle values that make a wrong family or a use after close detectable.
#include "vset_call.h"
#include "vset_family.h"

namespace vset {

namespace {

// Bits 26 to 30 hold the family, the rest a serial number multiplied by an odd factor, which keeps it unique.
constexpr unsigned int kSerialBits = 26;
constexpr HW_Handle_t kSerialMask = (1u << kSerialBits) - 1;
constexpr HW_Handle_t kSerialFactor = 0x2545F49u;

}  // namespace

HandleTable::HandleTable(FamilyId eFamily, const char* pszFamily, PlayersInstance ePlayers)
    : _eFamily(eFamily), _pszFamily(pszFamily), _ePlayers(ePlayers) {}

HW_Result_t HandleTable::find(std::uint64_t u64Key, HW_Handle_t* phHandle) const {
    if (phHandle == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    for (const auto& [hHandle, stInstance] : _instances) {
        if (stInstance.u64Key == u64Key) {
            *phHandle = hHandle;
            return HW_OK;
        }
    }
    return HW_ERR_FAILED;
}

HW_Result_t HandleTable::open(std::uint64_t u64Key, HW_Handle_t* phHandle, bool bPlayer) {
    if (phHandle == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    for (const auto& entry : _instances) {
        if (entry.second.u64Key == u64Key) {
            return HW_ERR_BUSY;
        }
    }
    if (_u32Serial == kSerialMask) {
        return HW_ERR_RESOURCES;
    }
    ++_u32Serial;
    const HW_Handle_t hHandle =
        (static_cast<HW_Handle_t>(_eFamily) << kSerialBits) | ((_u32Serial * kSerialFactor) & kSerialMask);
    _instances[hHandle] = {u64Key, bPlayer};
    *phHandle = hHandle;
    return HW_OK;
}

HW_Result_t HandleTable::close(HW_Handle_t hHandle) {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _instances.find(hHandle);
    if (found == _instances.end() || (found->second.bPlayer && _ePlayers == PlayersInstance::stays)) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (found->second.bPlayer) {
        detail::object((std::string(_pszFamily) + "_Close").c_str(), hHandle, "closes the player's");
    }
    _instances.erase(found);
    return HW_OK;
}

bool HandleTable::remove(HW_Handle_t hHandle) {
    const std::lock_guard<std::mutex> lock(_mutex);
    return _instances.erase(hHandle) != 0;
}

bool HandleTable::isPlayers(HW_Handle_t hHandle) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _instances.find(hHandle);
    return found != _instances.end() && found->second.bPlayer;
}

std::optional<std::uint64_t> HandleTable::key(HW_Handle_t hHandle) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _instances.find(hHandle);
    if (found == _instances.end()) {
        return std::nullopt;
    }
    return found->second.u64Key;
}

std::optional<OpenHandle> HandleTable::instance(std::uint64_t u64Key) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    for (const auto& [hHandle, stInstance] : _instances) {
        if (stInstance.u64Key == u64Key) {
            return OpenHandle{_pszFamily, u64Key, hHandle, stInstance.bPlayer};
        }
    }
    return std::nullopt;
}

void HandleTable::closeAll() {
    const std::lock_guard<std::mutex> lock(_mutex);
    _instances.clear();
}

void HandleTable::closeThoseOfTheLibrary() {
    const std::lock_guard<std::mutex> lock(_mutex);
    for (auto it = _instances.begin(); it != _instances.end();) {
        it = it->second.bPlayer ? std::next(it) : _instances.erase(it);
    }
}

void HandleTable::list(std::vector<OpenHandle>& handles) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    for (const auto& [hHandle, stInstance] : _instances) {
        handles.push_back({_pszFamily, stInstance.u64Key, hHandle, stInstance.bPlayer});
    }
}

}  // namespace vset
