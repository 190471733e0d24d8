// SPDX-License-Identifier: Apache-2.0
// Rows of the peripheral module's operations on HDMI ports, CEC, eARC and PWM channels.
#include <algorithm>
#include <iterator>
#include <memory>

#include "a_vextvfapi_prphrl.h"
#include "operations/operation.h"

namespace tool {

namespace {

constexpr long long kU8Max = 0xFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

Argument port(long long max) {
    return {"port", Kind::number, "the HDMI port, from 0", 0, max};
}

Argument version() {
    return {"version", Kind::choice, "which EDID, 1 to 3; 0 and below: the board's own", -128, 127, {{"default", 0}}};
}

Argument level() {
    return {"level", Kind::number, "level of the hot-plug line; 0: no set is there", 0, kU8Max};
}

Argument attribute() {
    return {"attribute", Kind::number, "which of the channel's values, 0 to 2", 0, kU32Max};
}

Argument channel() {
    return {"channel", Kind::number, "the channel, 0 to 17", 0, kU32Max};
}

long long getHandle(Call& call) {
    int handle = 0;
    unsigned char opened = 0;
    const int status = _a_vextvfapi_prphrl_get_hdmi_handle(call.number<unsigned char>(0), handle, opened);
    call.out("handle", static_cast<long long>(handle));
    call.out("opened", static_cast<long long>(opened));
    return status;
}

long long getEdidVersion(Call& call) {
    signed char version = 0;
    const int status = a_vextvfapi_prphrl_get_hdmi_edid_version(call.number<unsigned int>(0), &version);
    if (status == 0) {
        call.out("version", static_cast<long long>(version));
    }
    return status;
}

long long setEdid(Call& call) {
    const Bytes edid = call.exactBytes(2);
    return a_vextvfapi_prphrl_set_hdmi_edid_data(call.number<unsigned int>(0), call.number<signed char>(1),
                                                 static_cast<unsigned int>(edid.size()), edid.data());
}

long long getEdid(Call& call) {
    const auto edid = std::make_unique<fapi_core::VexTvFApiHDMI_EDID_Data_t>();
    const int status = a_vextvfapi_prphrl_get_hdmi_edid_data(call.number<unsigned int>(0), edid.get());
    if (status == 0) {
        const std::size_t size = std::min<std::size_t>(edid->u32Size, sizeof(edid->au8Data));
        call.out("edid", Bytes(edid->au8Data, edid->au8Data + size));
    }
    return status;
}

long long getCec(Call& call) {
    signed char enabled = 0;
    const int status = a_vextvfapi_prphrl_get_cec_status(&enabled);
    if (status == 0) {
        call.out("enabled", static_cast<long long>(enabled));
    }
    return status;
}

long long getEarc(Call& call) {
    int earc = 0;
    const int status = a_vextvfapi_prphrl_get_earc_status(&earc);
    if (status == 0) {
        call.out("earc", static_cast<long long>(earc));
    }
    return status;
}

long long getPwm(Call& call) {
    unsigned int value = 0;
    const int status = a_vextvfapi_prphrl_pwm_get_attr(call.number<fapi_core::VexTvFApiPwmAttr>(0),
                                                       call.number<fapi_core::VexTvFApiPwmChannel>(1), &value);
    if (status == 0) {
        call.out("value", static_cast<long long>(value));
    }
    return status;
}

std::vector<OperationRow> portOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_set_hdmi_edid_version",
                     "Choose the EDID that a source reads from an HDMI port.", Result::status,
                     {port(kU32Max), version()}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_set_hdmi_edid_version(call.number<unsigned int>(0),
                                                                         call.number<signed char>(1));
                     })
            .example("prphrl_set_hdmi_edid_version 0 2"),
        OperationRow("a_vextvfapi_prphrl_get_hdmi_edid_version", "Tell which EDID a source reads from an HDMI port.",
                     Result::status, {port(kU32Max)}, {{"version", "1 to 3, or 0 for any other"}}, getEdidVersion)
            .example("prphrl_get_hdmi_edid_version 0"),
        OperationRow(
            "a_vextvfapi_prphrl_set_hdmi_edid_data", "Replace one of an HDMI port's EDIDs and choose it.",
            Result::status,
            {port(kU32Max), version(), {"edid", Kind::bytes, "the EDID, at most 512 bytes: file:PATH", 0, kU32Max}}, {},
            setEdid)
            .destroying("overwrites the EDID")
            .example("prphrl_set_hdmi_edid_data 0 2 repeat:128:e"),
        OperationRow("a_vextvfapi_prphrl_get_hdmi_edid_data", "Read the EDID that a source reads from an HDMI port.",
                     Result::status, {port(kU32Max)}, {{"edid", "the EDID", true}}, getEdid)
            .example("prphrl_get_hdmi_edid_data 0"),
        OperationRow("a_vextvfapi_prphrl_set_hdmi_hpd", "Put the hot-plug line of an HDMI port to a level.",
                     Result::status, {port(kU8Max), level()}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_set_hdmi_hpd(call.number<unsigned char>(0),
                                                                call.number<unsigned char>(1));
                     })
            .example("prphrl_set_hdmi_hpd 0 1"),
        OperationRow("_a_vextvfapi_prphrl_set_hdmi_hpd", "Put the hot-plug line of an open HDMI port to a level.",
                     Result::status,
                     {{"handle", Kind::number, "handle of the port", kI32Min, kI32Max}, port(kU8Max), level()}, {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_prphrl_set_hdmi_hpd(call.number<int>(0), call.number<unsigned char>(1),
                                                                 call.number<unsigned char>(2));
                     })
            .example("_prphrl_set_hdmi_hpd 0x36545F49 0 1", {"_prphrl_get_hdmi_handle 0"}),
        OperationRow("_a_vextvfapi_prphrl_get_hdmi_handle",
                     "Look up or open an HDMI port's handle; one that it opened stays open.", Result::status,
                     {port(kU8Max)},
                     {{"handle", "the handle", false, "", Role::changing},
                      {"opened", "1 when it was opened by this call", false, "", Role::changing}},
                     getHandle)
            .example("_prphrl_get_hdmi_handle 0"),
    };
}

std::vector<OperationRow> cecOperations() {
    return {
        OperationRow(
            "a_vextvfapi_prphrl_enable_cec", "Switch CEC on or off.", Result::status,
            {{"enable", Kind::flag, "on or off"}}, {},
            [](Call& call) -> long long { return a_vextvfapi_prphrl_enable_cec(call.number<unsigned char>(0)); })
            .example("prphrl_enable_cec on"),
        OperationRow("a_vextvfapi_prphrl_get_cec_status", "Tell whether CEC is on.", Result::status, {},
                     {{"enabled", "1 when it is on"}}, getCec)
            .example("prphrl_get_cec_status"),
        OperationRow("a_vextvfapi_prphrl_get_earc_status", "Read the chip's eARC status.", Result::status, {},
                     {{"earc", "the chip's number for it"}}, getEarc)
            .example("prphrl_get_earc_status"),
    };
}

std::vector<OperationRow> pwmOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_pwm_set_attr", "Set one of a PWM channel's values.", Result::status,
                     {attribute(), channel(), {"value", Kind::number, "the value", 0, kU32Max}}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_pwm_set_attr(call.number<fapi_core::VexTvFApiPwmAttr>(0),
                                                                call.number<fapi_core::VexTvFApiPwmChannel>(1),
                                                                call.number<unsigned int>(2));
                     })
            .example("prphrl_pwm_set_attr 2 9 1500"),
        OperationRow("a_vextvfapi_prphrl_pwm_get_attr", "Read one of a PWM channel's values.", Result::status,
                     {attribute(), channel()}, {{"value", "the value"}}, getPwm)
            .example("prphrl_pwm_get_attr 2 9", {"prphrl_pwm_set_attr 2 9 1500"}),
    };
}

}  // namespace

std::vector<OperationRow> hdmiOperations() {
    std::vector<OperationRow> rows;
    for (std::vector<OperationRow> some : {portOperations(), cecOperations(), pwmOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
