// SPDX-License-Identifier: Apache-2.0
// Network interfaces, which are those of the set's folder.
#include "hw3/hw_net.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <mutex>
#include <optional>

#include "vset/net.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

// The key of a handle is the interface's place in the list.
class NetModel : public FamilyModel {
public:
    NetModel() : FamilyModel(FamilyId::net, "HW_NET") {}

    // Held while the list is changed.
    std::mutex mutex;
    std::optional<unsigned int> reportedCount;

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(mutex);
        reportedCount.reset();
    }
};
NetModel& model = *new NetModel;

// Writes a text into a record's field; one that fills the field has no terminator.
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

HW_Result_t openInterface(const HW_NET_OpenParams_t& stParams, HW_Handle_t* phNet) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    const std::vector<net::Interface> interfaces = setConfig().interfaces;
    const std::string strName = nameIn(stParams.acName);
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const net::Interface& stInterface) { return stInterface.strName == strName; });
    if (found == interfaces.end()) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return model.handles().open(static_cast<std::uint64_t>(found - interfaces.begin()), phNet);
}

// Runs `change` on the interface of an open handle, and keeps what it has made of it when that is HW_OK.
template <class Change>
HW_Result_t changeInterface(HW_Handle_t hNet, Change&& change) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    const auto place = model.handles().key(hNet);
    const std::vector<net::Interface> interfaces = setConfig().interfaces;
    if (!place || *place >= interfaces.size()) {
        return HW_ERR_INVALID_HANDLE;
    }
    net::Interface stInterface = interfaces[*place];
    const HW_Result_t result = change(stInterface);
    if (result == HW_OK) {
        // The list is the same as above: it changes under the model's mutex alone.
        changeSetConfig([&](SetConfig& stConfig) { stConfig.interfaces[*place] = stInterface; });
    }
    return result;
}

HW_Result_t switchDhcp(HW_Handle_t hNet, HW_U32 u32IpVersion, bool bOn) {
    return changeInterface(hNet, [&](net::Interface& stInterface) -> HW_Result_t {
        if (u32IpVersion != E_HW_NET_IPV4) {
            return HW_ERR_NOT_SUPPORT;
        }
        if (stInterface.bDhcp == bOn) {
            return HW_ERR_FAILED;
        }
        stInterface.bDhcp = bOn;
        return HW_OK;
    });
}

// "0a-1B-..." as "0A:1B:...".
std::string canonicalMac(std::string strMac) {
    for (char& cDigit : strMac) {
        cDigit = cDigit == '-' ? ':' : static_cast<char>(std::toupper(static_cast<unsigned char>(cDigit)));
    }
    return strMac;
}

HW_Result_t setMac(HW_Handle_t hNet, const char* pszMac) {
    return changeInterface(hNet, [&](net::Interface& stInterface) -> HW_Result_t {
        if (pszMac == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        // A text that is too long is none either.
        stInterface.strMac = canonicalMac(std::string(pszMac, strnlen(pszMac, 18)));
        return isInterface(stInterface) ? HW_OK : HW_ERR_INVALID_PARAMETER;
    });
}

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
    const std::string strName = pstParams != nullptr ? vset::nameIn(pstParams->acName) : "";
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
    return vset::changeInterface(hNet, [&](vset::net::Interface& stInterface) -> HW_Result_t {
        stInterface.bUp = bUp;
        return HW_OK;
    });
}

HW_Result_t HW_NET_DeviceUp(HW_Handle_t hNet) {
    return vset::call(__func__, {hNet}, [&]() -> HW_Result_t { return setUp(hNet, true); });
}

HW_Result_t HW_NET_DeviceDown(HW_Handle_t hNet) {
    return vset::call(__func__, {hNet}, [&]() -> HW_Result_t { return setUp(hNet, false); });
}

// --- The person's door -----------------------------------------------------------------------------------------------

namespace vset::net {

std::vector<Interface> interfaces() {
    requireSet();
    return setConfig().interfaces;
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
    changeSetConfig([&](SetConfig& stConfig) { stConfig.interfaces = interfaces; });
}

void setReportedCount(unsigned int u32Count) {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.reportedCount = u32Count;
}

}  // namespace vset::net
