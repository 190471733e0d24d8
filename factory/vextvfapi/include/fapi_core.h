// SPDX-License-Identifier: Apache-2.0
// Records and types that the modules of the factory API share, and what holds for all of its operations.
//
// Arguments. [in] is read, [out] is written, [in, out] both. Numbers said to be the chip's are passed on as they are;
// docs/integration.md lists them.
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
// Threads. The host serializes its calls: operations must not overlap. Events are delivered on the thread that observed
// them, with the module's callback mutex held. The first event may arrive before the operation that starts it has
// returned. Inside a callback the host may call any operation, with these exceptions:
//
//     - reg_callback, unreg_callback and nty_event of the same module deadlock, and so does
//       _a_vextvfapi_prphrl_sar_key_callback in a callback of the peripheral module, because it delivers events.
//     - a_vextvfapi_prphrl_stop_keypad and a_vextvfapi_prphrl_stop_factory_uart may wait forever in a callback of the
//       peripheral module: the middleware waits for its own thread, which may be waiting for the module's mutex.
//     - A stop that waits in steps (pad monitor, standard factory link, pipe mode) waits until its time-out when the
//       callback runs on the thread that is to be stopped; no other event of the module is delivered meanwhile.
//
// Exceptions never leave an operation. One that a callback throws is swallowed, and nty_event then returns -1. A
// callback returns; it must not end the thread that calls it.
//
// Log. With the debug switch on operations print to standard output what they do and, with few exceptions, why they
// failed. The switch is the file /data/tvfapi_hal_debug, read by a_vextvfapi_sys_init.
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

// The events. The peripheral module raises all of them; their payload is in the first object.
enum VexTvFApiEvent : unsigned int {
    E_VEXTVFAPI_EVENT_UART_DATA = 0x100001,  // data, text: bytes received on a factory serial link
    E_VEXTVFAPI_EVENT_KEY = 0x100002,        // value: the code of the pressed key
    E_VEXTVFAPI_EVENT_UART_PIPE = 0x100003,  // data, text: a command received in pipe mode
    E_VEXTVFAPI_EVENT_ADC = 0x100004,        // value: the ADC reading that follows a key, 255 when it failed
    E_VEXTVFAPI_EVENT_GPIO = 0x100005        // value: the level of the monitored pad, 255 when it cannot be monitored
};

// A module's notification function. `event` is a VexTvFApiEvent, or what a host has passed to nty_event. The result is
// returned by nty_event and has no meaning for the library.
//
// Each module but common has three operations for events:
//
//     reg_callback    registers a callback in place of an earlier one; null registers none. Returns 0.
//     unreg_callback  removes the callback. Once it has returned, no call into the old callback starts. Returns 0.
//     nty_event       calls the registered callback on the calling thread and returns its result; -1 when none is
//                     registered or the callback throws.
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

// Attributes of a PWM channel, whose meaning is the chip's, and the channels.
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
    unsigned int u32PeqBandCount;  // at most 5; later entries of the three lists are not sent
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

// A line on the test canvas, in pixels from its top left corner. The end with the larger coordinate along the longer
// axis is not drawn.
struct VexTvFApiGOPPatternLine_t {
    unsigned int u32StartX;              //  0
    unsigned int u32StartY;              //  4
    unsigned int u32EndX;                //  8
    unsigned int u32EndY;                // 12
    VexTvFApiGOPPatternColor_t stColor;  // 16
};

// A filled rectangle with a frame inside it.
struct VexTvFApiGOPPatternRect_t {
    unsigned int u32X;                         //  0
    unsigned int u32Y;                         //  4
    unsigned int u32Width;                     //  8
    unsigned int u32Height;                    // 12
    VexTvFApiGOPPatternColor_t stColor;        // 16
    unsigned int u32BorderWidth;               // 20  0: no frame
    VexTvFApiGOPPatternColor_t stBorderColor;  // 24
};

// A piece of a 24-bit uncompressed BMP file.
struct VexTvFApiGOPPatternBitmap_t {
    unsigned int u32X;  // where it goes on the canvas
    unsigned int u32Y;
    std::string strFileName;
    unsigned int u32CropX;  // the piece, from the picture's top left corner
    unsigned int u32CropY;
    unsigned int u32CropWidth;
    unsigned int u32CropHeight;
};

// The color matrix of the graphics layer, in the chip's units.
struct VexTvFApiGOPPatternAttr_t {
    bool bEnable;                  //  0
    unsigned short u16Hue;         //  2
    unsigned short u16Saturation;  //  4
    unsigned short u16Contrast;    //  6
    unsigned short u16Brightness;  //  8
    unsigned short u16RedGain;     // 10
    unsigned short u16GreenGain;   // 12
    unsigned short u16BlueGain;    // 14
};

static_assert(sizeof(VexTvFApiGOPPatternColor_t) == 4, "");
static_assert(sizeof(VexTvFApiGOPPatternLine_t) == 20, "");
static_assert(sizeof(VexTvFApiGOPPatternRect_t) == 28, "");
static_assert(sizeof(VexTvFApiGOPPatternAttr_t) == 16, "");

// The colors that burn-in cycles through.
struct _VexFApiDisptstBurnModeParam {
    unsigned short* pColorTable;     //  0  red, green, blue of each entry, 0-1023
    unsigned char u8ColorTableSize;  //  8  entries
    unsigned char u8Interval;        //  9  how long a color stays, in 100 ms
};
static_assert(sizeof(void*) != 8 || sizeof(_VexFApiDisptstBurnModeParam) == 16, "");

// A video test pattern.
struct VexTvFApiDispTstPattern {
    unsigned int u32Enable;     //  0  0: off
    unsigned int u32Param;      //  4  depends on the stage
    unsigned int au32Value[3];  //  8  red, green, blue, 0-1023
};
static_assert(sizeof(VexTvFApiDispTstPattern) == 20, "");

// Sampling phase of the analog inputs' converters, in the chip's units.
struct VexTvFApiAdcPhase_t {
    unsigned int u32RedPhase, u32GreenPhase, u32BluePhase;  //  0, 4, 8
};
static_assert(sizeof(VexTvFApiAdcPhase_t) == 12, "");

// Gain and offset of the analog inputs' converters, in the chip's units.
struct VexTvFApiAdcGainOffset_t {
    unsigned int u32RedGain, u32GreenGain, u32BlueGain;        //  0, 4, 8
    unsigned int u32RedOffset, u32GreenOffset, u32BlueOffset;  // 12, 16, 20
};
static_assert(sizeof(VexTvFApiAdcGainOffset_t) == 24, "");

// Identification texts of the demodulator.
struct VexTvFApiDemodInfoParam_t {
    std::string strName;
    std::string strVersion;
    std::string strBuildNumber;
    std::string strChangeList;
};

// Timing of what is on screen.
struct VexTvFApiVideoTiming {
    unsigned int u32Width;       //  0  pixels
    unsigned int u32Height;      //  4  lines
    unsigned int u32FrameRate;   //  8  1/1000 Hz
    unsigned char u8Interlaced;  // 12  1 = interlaced
};
static_assert(sizeof(VexTvFApiVideoTiming) == 16, "");

// Range of three picture-quality values.
struct VexTvFApiDispHsyModelRange {
    int as32Min[3];  //  0
    int as32Max[3];  // 12
};
static_assert(sizeof(VexTvFApiDispHsyModelRange) == 24, "");

// Identity of the panel's timing controller. A name of 16 characters has no NUL.
struct VexTvFApiDispTconInfo {
    unsigned char u8TconProjectName[16];   //  0
    unsigned char u8TconCustomerName[16];  // 16
    unsigned char u8TconData[10];          // 32  opaque
};
static_assert(sizeof(VexTvFApiDispTconInfo) == 42, "");

// Identity of the external frame-rate converter, in the chip's numbers.
struct VexTvFApiDispExtFrcDeviceInfo {
    unsigned int eExtFrcModel;  //  0
    unsigned int u32FwVer;      //  4
};
static_assert(sizeof(VexTvFApiDispExtFrcDeviceInfo) == 8, "");

enum VexTvFApiVideoWin : unsigned int {
    E_VEXTVFAPI_VIDEO_WIN_HD0 = 0,
    E_VEXTVFAPI_VIDEO_WIN_HD1 = 1,
    E_VEXTVFAPI_VIDEO_WIN_SD0 = 2
};

// Parts of the picture-quality data, by the chip's number.
enum VexTvFApiPqType : unsigned int { E_VEXTVFAPI_PQ_TYPE_FIRST = 0, E_VEXTVFAPI_PQ_TYPE_LAST = 6 };

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
