// SPDX-License-Identifier: Apache-2.0
// Network interfaces. Their names, MAC addresses and states after switching on are those of the set's folder.
#include "hw3/hw_net.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

#include "vset/net.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

// The state of an interface that is lost when the set is switched off.
struct Present {
    std::uint64_t u64Id = 0;  // stays with the interface when the list changes
    bool bUp = false;
    bool bDhcp = false;
};

// The interfaces' model. The key of a handle is the interface's number.
class NetModel : public FamilyModel {
public:
    NetModel() : FamilyModel(FamilyId::net, "HW_NET") {}

    // Held while the list is changed.
    std::mutex mutex;
    std::vector<Present> present;  // of the folder's interfaces, in the same order
    std::optional<unsigned int> reportedCount;

    Present make(const net::Interface& stInterface) { return {_u64Made++, stInterface.bUp, stInterface.bDhcp}; }

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(mutex);
        reportedCount.reset();
        present.clear();
        _u64Made = 0;
        for (const net::Interface& stInterface : setConfig().interfaces) {
            present.push_back(make(stInterface));
        }
    }

private:
    std::uint64_t _u64Made = 0;
};
NetModel& model = *new NetModel;

// Returns the text of a record's field; one that fills the field has no terminator.
std::string nameIn(const char (&acName)[HW_NET_INTERFACE_NAME_SIZE]) {
    return {acName, strnlen(acName, sizeof(acName))};
}

HW_Result_t listNames(HW_NET_InterfaceName_t* pstList, HW_U32* pu32Count) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    const std::vector<net::Interface> interfaces = setConfig().interfaces;
    for (std::size_t i = 0; i < interfaces.size(); ++i) {
        pstList[i] = {};
        interfaces[i].strName.copy(pstList[i].acName, sizeof(pstList[i].acName));
    }
    *pu32Count = model.reportedCount.value_or(static_cast<HW_U32>(interfaces.size()));
    return HW_OK;
}

// Returns the key of the first interface of a name.
std::optional<std::uint64_t> keyOf(const std::string& strName) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    const std::vector<net::Interface> interfaces = setConfig().interfaces;
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const net::Interface& stInterface) { return stInterface.strName == strName; });
    return found != interfaces.end()
               ? std::optional(model.present[static_cast<std::size_t>(found - interfaces.begin())].u64Id)
               : std::nullopt;
}

HW_Result_t openInterface(const HW_NET_OpenParams_t& stParams, HW_Handle_t* phNet) {
    const auto key = keyOf(nameIn(stParams.acName));
    return key ? model.handles().open(*key, phNet) : HW_ERR_INVALID_PARAMETER;
}

std::uint64_t requireKey(const std::string& strName) {
    requireSet();
    const auto key = keyOf(strName);
    if (!key) {
        throw SetError("interface \"" + strName + "\": there is none");
    }
    return *key;
}

// Runs `body` on the index of an open handle's interface in the list, which does not change meanwhile.
template <class Body>
HW_Result_t withInterface(HW_Handle_t hNet, Body&& body) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    const auto id = model.handles().key(hNet);
    const auto found = std::find_if(model.present.begin(), model.present.end(),
                                    [&](const Present& stPresent) { return id && stPresent.u64Id == *id; });
    return found != model.present.end() ? body(static_cast<std::size_t>(found - model.present.begin()))
                                        : HW_ERR_INVALID_HANDLE;
}

HW_Result_t switchDhcp(HW_Handle_t hNet, HW_U32 u32IpVersion, bool bOn) {
    return withInterface(hNet, [&](std::size_t place) -> HW_Result_t {
        if (u32IpVersion != E_HW_NET_IPV4) {
            return HW_ERR_NOT_SUPPORT;
        }
        bool& bDhcp = model.present[place].bDhcp;
        return std::exchange(bDhcp, bOn) != bOn ? HW_OK : HW_ERR_FAILED;
    });
}

// Returns "0a-1B-..." as "0A:1B:...". Empty for a text with both separators, and for the address of a group.
std::string canonicalMac(std::string strMac) {
    const bool bMixed = strMac.find(':') != std::string::npos && strMac.find('-') != std::string::npos;
    const bool bGroup = strMac.size() > 1 && std::strchr("13579bBdDfF", strMac[1]) != nullptr;
    if (bMixed || bGroup) {
        return {};
    }
    for (char& cDigit : strMac) {
        cDigit = cDigit == '-' ? ':' : static_cast<char>(std::toupper(static_cast<unsigned char>(cDigit)));
    }
    return strMac;
}

HW_Result_t setMac(HW_Handle_t hNet, const char* pszMac) {
    return withInterface(hNet, [&](std::size_t place) -> HW_Result_t {
        if (pszMac == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        net::Interface stInterface = setConfig().interfaces[place];
        // A text that is too long is no address either.
        stInterface.strMac = canonicalMac(std::string(pszMac, strnlen(pszMac, 18)));
        if (!isInterface(stInterface)) {
            return HW_ERR_INVALID_PARAMETER;
        }
        changeSetConfig([&](SetConfig& stConfig) { stConfig.interfaces[place] = stInterface; });
        return HW_OK;
    });
}

// Returns the interfaces as they are now.
std::vector<net::Interface> presentInterfaces() {
    std::vector<net::Interface> interfaces = setConfig().interfaces;
    for (std::size_t i = 0; i < interfaces.size(); ++i) {
        interfaces[i].bUp = model.present[i].bUp;
        interfaces[i].bDhcp = model.present[i].bDhcp;
    }
    return interfaces;
}

// The next list. An interface whose name was in the old list keeps its identity.
class NextList {
public:
    explicit NextList(const std::vector<net::Interface>& interfaces)
        : _stored(setConfig().interfaces), _next(interfaces) {
        for (net::Interface& stInterface : _next) {
            add(stInterface);
        }
    }

    void take() {
        changeSetConfig([&](SetConfig& stConfig) { stConfig.interfaces = _next; });
        for (std::size_t i = 0; i < _stored.size(); ++i) {
            const auto handle = model.handles().instance(model.present[i].u64Id);
            if (_kept.count(i) == 0 && handle) {
                model.handles().remove(handle->u32Handle);
            }
        }
        model.present = _present;
    }

private:
    void add(net::Interface& stInterface) {
        for (std::size_t i = 0; i < _stored.size(); ++i) {
            if (_stored[i].strName == stInterface.strName && _kept.insert(i).second) {
                const Present& stBefore = model.present[i];
                _present.push_back({stBefore.u64Id, stInterface.bUp, stInterface.bDhcp});
                // A state that a program has set is not stored as the state to come up in.
                stInterface.bUp = stInterface.bUp == stBefore.bUp ? _stored[i].bUp : stInterface.bUp;
                stInterface.bDhcp = stInterface.bDhcp == stBefore.bDhcp ? _stored[i].bDhcp : stInterface.bDhcp;
                return;
            }
        }
        _present.push_back(model.make(stInterface));
    }

    const std::vector<net::Interface> _stored;
    std::vector<net::Interface> _next;
    std::vector<Present> _present;
    std::set<std::size_t> _kept;  // indexes
};

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_NET_Init(const HW_NET_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams},
                      [&]() -> HW_Result_t { return model.initialise(pstParams, vset::NullParams::defaults); });
}

HW_Result_t HW_NET_DeInit() {
    return vset::call(__func__, {}, []() -> HW_Result_t { return model.shutDown(); });
}

HW_Result_t HW_NET_GetInterfaceName(HW_NET_InterfaceName_t* pstList, HW_U32* pu32Count) {
    return vset::call(__func__, {pstList, pu32Count}, [&]() -> HW_Result_t {
        if (pstList == nullptr || pu32Count == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = model.readiness();
        return result == HW_OK ? vset::listNames(pstList, pu32Count) : result;
    });
}

HW_Result_t HW_NET_Open(const HW_NET_OpenParams_t* pstParams, HW_Handle_t* phNet) {
    return vset::call(__func__, {pstParams, phNet}, [&]() -> HW_Result_t {
        if (pstParams == nullptr || phNet == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = model.readiness();
        return result == HW_OK ? vset::openInterface(*pstParams, phNet) : result;
    });
}

HW_Result_t HW_NET_Close(HW_Handle_t hNet) {
    return vset::call(__func__, {hNet}, [&]() -> HW_Result_t { return model.handles().close(hNet); });
}

HW_Result_t HW_NET_DhcpOff(HW_Handle_t hNet, HW_U32 u32IpVersion) {
    return vset::call(__func__, {hNet, u32IpVersion},
                      [&]() -> HW_Result_t { return vset::switchDhcp(hNet, u32IpVersion, false); });
}

HW_Result_t HW_NET_DhcpOn(HW_Handle_t hNet, HW_U32 u32IpVersion) {
    return vset::call(__func__, {hNet, u32IpVersion},
                      [&]() -> HW_Result_t { return vset::switchDhcp(hNet, u32IpVersion, true); });
}

HW_Result_t HW_NET_SetMac(HW_Handle_t hNet, const char* pszMac) {
    return vset::call(__func__, {hNet, pszMac}, [&]() -> HW_Result_t { return vset::setMac(hNet, pszMac); });
}

static HW_Result_t setUp(HW_Handle_t hNet, bool bUp) {
    return vset::withInterface(hNet, [&](std::size_t place) -> HW_Result_t {
        model.present[place].bUp = bUp;
        return HW_OK;
    });
}

HW_Result_t HW_NET_DeviceUp(HW_Handle_t hNet) {
    return vset::call(__func__, {hNet}, [&]() -> HW_Result_t { return setUp(hNet, true); });
}

HW_Result_t HW_NET_DeviceDown(HW_Handle_t hNet) {
    return vset::call(__func__, {hNet}, [&]() -> HW_Result_t { return setUp(hNet, false); });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::net {

std::vector<Interface> interfaces() {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    return presentInterfaces();
}

void setInterfaces(const std::vector<Interface>& interfaces) {
    requireSet();
    if (interfaces.size() > kInterfaces) {
        throw SetError(std::to_string(interfaces.size()) + " interfaces are more than " + std::to_string(kInterfaces));
    }
    for (const Interface& stInterface : interfaces) {
        if (!isInterface(stInterface)) {
            throw SetError("interface \"" + stInterface.strName +
                           "\": needs a name of 1 to 16 characters and a MAC address like 00:4C:55:4D:00:01");
        }
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    NextList(interfaces).take();
}

void hold(const std::string& strName) {
    model.hold(requireKey(strName), strName);
}

void release(const std::string& strName) {
    model.release(requireKey(strName), strName);
}

void setReportedCount(unsigned int u32Count) {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.reportedCount = u32Count;
}

}  // namespace vset::net
