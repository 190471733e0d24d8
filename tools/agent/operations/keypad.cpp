// SPDX-License-Identifier: Apache-2.0
// Rows of the peripheral module's operations on keypad, ADC and remote control.
#include "a_vextvfapi_prphrl.h"
#include "operations/operation.h"

namespace tool {

namespace {

constexpr long long kU8Max = 0xFF;
constexpr long long kU32Max = 0xFFFFFFFFll;

// What stands for a key that is not given.
constexpr long long kNoKey = -1;

long long reportKey(Call& call) {
    Bytes key = Call::buffer(1, call.number<unsigned char>(2));
    return _a_vextvfapi_prphrl_sar_key_callback(call.number<unsigned int>(0), call.number<unsigned int>(1),
                                                call.number(2) == kNoKey ? nullptr : key.data());
}

long long getRcFormat(Call& call) {
    Bytes format = Call::buffer(1, kU8Max);
    const int status = a_vextvfapi_prphrl_get_rc_format(call.utext(0), format.data());
    if (status == 0) {
        call.out("format", static_cast<long long>(format[0]));
    }
    return status;
}

std::string otherChannel(const std::vector<Value>& values, const std::vector<Value>& first) {
    const auto wanted = std::get<long long>(values[0]), read = std::get<long long>(first[0]);
    return wanted == read ? ""
                          : "asks for channel " + std::to_string(wanted) + ", but reads channel " +
                                std::to_string(read) + ", which was the first to be read";
}

}  // namespace

std::vector<OperationRow> keypadOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_keypad_init",
                     "Read the keypad's configuration and open it; start_keypad does so, too.", Result::oneIsGood, {},
                     {}, [](Call&) -> long long { return a_vextvfapi_prphrl_keypad_init(); })
            .example("prphrl_keypad_init"),
        OperationRow("a_vextvfapi_prphrl_start_keypad", "Report the keys of the keypad; each is event 0x100002.",
                     Result::oneIsGood, {}, {}, [](Call&) -> long long { return a_vextvfapi_prphrl_start_keypad(); })
            .example("prphrl_start_keypad"),
        OperationRow("a_vextvfapi_prphrl_stop_keypad", "Report no more keys.", Result::oneIsGood, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_prphrl_stop_keypad(); })
            .example("prphrl_stop_keypad", {"prphrl_start_keypad"}),
        OperationRow("_a_vextvfapi_prphrl_sar_key_callback",
                     "Report a key in the middleware's place; answers 3 to what is no press.", Result::status,
                     {{"handle", Kind::number, "handle of the keypad, which is not looked at", 0, kU32Max},
                      {"event", Kind::choice, "what has happened", 0, kU32Max, {{"press", 1}}},
                      {"key", Kind::number, "code of the key; -1: none, a null pointer", kNoKey, kU8Max, {}, "-1"}},
                     {}, reportKey)
            .example("_prphrl_sar_key_callback 1 press 0x01"),
        OperationRow(
            "a_vextvfapi_prphrl_start_adc",
            "Open the keypad's ADC channel; with reading on, every key is followed by event 0x100004.", Result::status,
            {{"reading", Kind::choice, "whether keys are followed by a reading", 0, kU8Max, {{"off", 0}, {"on", 1}}}},
            {}, [](Call& call) -> long long { return a_vextvfapi_prphrl_start_adc(call.number<unsigned char>(0)); })
            .example("prphrl_start_adc on"),
        OperationRow(
            "a_vextvfapi_prphrl_get_sar_adc",
            "Read an ADC channel: the value, or 0 on a failure. The first channel that was read stays in force.",
            Result::value,
            {{"channel", Kind::number, "the channel, 0 to 7", 0, kU32Max},
             {"level", Kind::number, "the converter's voltage level", 0, kU32Max, {}, "1"}},
            {},
            [](Call& call) -> long long {
                return a_vextvfapi_prphrl_get_sar_adc(call.number<unsigned int>(0), call.number<unsigned int>(1));
            })
            .warning(otherChannel)
            .example("prphrl_get_sar_adc 3", {"set voltage 3 0x7F"}),
        OperationRow("a_vextvfapi_prphrl_get_rc_format",
                     "Read a format code from the remote control's configuration file.", Result::status,
                     {{"key", Kind::text, "section:key, such as IR:IR_FORMAT"}},
                     {{"format", "the code; stays 255 when the file holds no valid one"}}, getRcFormat)
            .example("prphrl_get_rc_format IR:IR_FORMAT"),
    };
}

}  // namespace tool
