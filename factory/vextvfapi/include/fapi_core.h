// SPDX-License-Identifier: Apache-2.0
// Records and types that the modules of the factory API share, and what holds for all of its operations.
//
// Status. An operation returns a signed 32-bit status unless its first line says otherwise:
//
//      0  success
//     -1  general failure: the middleware, a file or a device refused
//     -2  invalid parameter: null where data is needed, a value out of range, a buffer too small
//     -3  not implemented by the chip
//     -4  memory could not be allocated
//     -5  the set is not in factory mode (a_vextvfapi_common_get_fapi_status only)
//     -6  not supported by the chip
//
// Output arguments keep what the caller put there when an operation fails, unless its description says otherwise.
// Buffers belong to the caller and are used during the call only. Texts are NUL-terminated bytes.
//
// Order. a_vextvfapi_sys_init runs first; it also reads the debug switch and the factory-mode marker. A module's own
// init runs before the module's other operations.
//
// Threads. The host serialises its calls: operations take no lock. Events are delivered on the thread that observed
// them, with the module's callback mutex held: inside a callback the host may call any operation except
// reg_callback, unreg_callback and nty_event of the same module, which would deadlock.
//
// Exceptions never leave an operation. One that a callback throws is swallowed, and nty_event then returns -1. A
// callback returns; it must not end the thread that calls it.
//
// Log. With the debug switch on operations print to standard output what they do and, with few exceptions, why they
// failed. The switch is the file /data/tvfapi_hal_debug, looked at by a_vextvfapi_sys_init.
#ifndef FAPI_CORE_H
#define FAPI_CORE_H

#include <string>
#include <vector>

// The exported operations; everything else in the library is hidden.
#define FAPI_API __attribute__((visibility("default")))

namespace fapi_core {

// One of the four payload objects of an event. Lives for the duration of the callback only; the callback copies what
// it wants to keep.
struct VexTvFApiEventCommonObject {
    int value = 0;                    // the event's number: a level, a key code, an ADC value
    std::string text;                 // the event's text, empty when unused
    std::vector<unsigned char> data;  // the event's bytes, empty when unused
};

// A module's notification function. `event` is one of
//
//     0x100001  bytes received on a factory serial link
//     0x100002  key pressed
//     0x100003  command received in serial pipe mode
//     0x100004  ADC reading that follows a key
//     0x100005  level of a monitored GPIO pad
//
// all of them raised by the peripheral module. The result is handed back by nty_event and means nothing to the
// library.
using VexTvFApiEventCallback_t = int (*)(unsigned int event, const VexTvFApiEventCommonObject& a,
                                         const VexTvFApiEventCommonObject& b, const VexTvFApiEventCommonObject& c,
                                         const VexTvFApiEventCommonObject& d);

// Directions of the standard factory link.
enum VexTvFApiStdFactoryUartConfig : unsigned int {
    E_VEXTVFAPI_STD_FACTORY_UART_READ = 0,
    E_VEXTVFAPI_STD_FACTORY_UART_WRITE = 1,
    E_VEXTVFAPI_STD_FACTORY_UART_READ_WRITE = 2
};

// Commands that the set's factory daemon takes.
enum VexTvFApiSysFactorySvcCmd_e : int { E_VEXTVFAPI_SYS_FACTORY_SVC_CMD_0 = 0, E_VEXTVFAPI_SYS_FACTORY_SVC_CMD_1 = 1 };

// Attributes of a PWM channel, and the channels.
enum VexTvFApiPwmAttr : unsigned int {
    E_VEXTVFAPI_PWM_ATTR_0 = 0,
    E_VEXTVFAPI_PWM_ATTR_1 = 1,
    E_VEXTVFAPI_PWM_ATTR_2 = 2
};
enum VexTvFApiPwmChannel : unsigned int { E_VEXTVFAPI_PWM_CHANNEL_FIRST = 0, E_VEXTVFAPI_PWM_CHANNEL_LAST = 17 };

// The EDID of an HDMI port.
struct VexTvFApiHDMI_EDID_Data_t {
    unsigned int u32Size;  // bytes stored in au8Data
    unsigned char au8Data[512];
};
static_assert(sizeof(VexTvFApiHDMI_EDID_Data_t) == 516, "part of the binary interface");

// Parameters of the Dolby DAP effect, in the layout of the chip. The library reads only the pre-gain, for its log.
struct VexTvFApiAdvSndDolbyDapParams_t {
    unsigned int u32Field0;
    struct {
        int s32PreGain;
    } stDapGainParam;
    unsigned char au8Rest[1592];
};
static_assert(sizeof(VexTvFApiAdvSndDolbyDapParams_t) == 1600, "part of the binary interface");

// Parameters of the basic sound effects; each effect reads its own. Only the low 16 bits of a value reach the chip.
struct VexTvFApiAudBasicSoundParam_t {
    unsigned int u32Prescale;
    unsigned int u32EqBandCount;  // at most 8
    unsigned int au32EqLevel[8];
    unsigned int u32PeqBandCount;  // at most 5, what is behind in the three lists is not meant for the chip
    unsigned int au32PeqGain[8];
    unsigned int au32PeqFreq[8];
    unsigned int au32PeqQ[8];
    unsigned int u32Treble;
    unsigned int u32Bass;
    unsigned char au8Further1[76];  // not used
    unsigned int u32Balance;
    unsigned char au8Further2[72];  // not used
    unsigned int u32EchoTime;
    unsigned int u32NrThreshold;
};
static_assert(sizeof(VexTvFApiAudBasicSoundParam_t) == 308, "part of the binary interface");

// For volume tables: all audio output paths, or one of them.
enum VexTvFApiAudioOutPathEnum : unsigned int {
    E_VEXTVFAPI_AUDIO_OUT_PATH_ALL = 0,
    E_VEXTVFAPI_AUDIO_OUT_PATH_1 = 1,
    E_VEXTVFAPI_AUDIO_OUT_PATH_8 = 8,
    E_VEXTVFAPI_AUDIO_OUT_PATH_NUM = 9,
    E_VEXTVFAPI_AUDIO_OUT_PATH_INVALID = 255
};

// A color of the test canvas. Lines are opaque whatever their alpha is.
struct VexTvFApiGOPPatternColor_t {
    unsigned char u8Red;
    unsigned char u8Green;
    unsigned char u8Blue;
    unsigned char u8Alpha;
};

}  // namespace fapi_core

// Basic sound effects.
enum e_vextvfapi_aud_basic_snd_type : unsigned int {
    E_VEXTVFAPI_AUD_BASIC_SND_PRESCALE = 0,
    E_VEXTVFAPI_AUD_BASIC_SND_EQ = 1,
    E_VEXTVFAPI_AUD_BASIC_SND_PEQ = 2,
    E_VEXTVFAPI_AUD_BASIC_SND_TREBLE = 3,
    E_VEXTVFAPI_AUD_BASIC_SND_BASS = 4,
    E_VEXTVFAPI_AUD_BASIC_SND_AVC = 5,
    E_VEXTVFAPI_AUD_BASIC_SND_SURROUND = 6,
    E_VEXTVFAPI_AUD_BASIC_SND_BALANCE = 7,
    E_VEXTVFAPI_AUD_BASIC_SND_DRC = 8,
    E_VEXTVFAPI_AUD_BASIC_SND_ECHO = 9,
    E_VEXTVFAPI_AUD_BASIC_SND_NR = 10,
    E_VEXTVFAPI_AUD_BASIC_SND_HPF = 11,
    E_VEXTVFAPI_AUD_BASIC_SND_LIMITER = 12
};

#endif
