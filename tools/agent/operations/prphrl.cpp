// SPDX-License-Identifier: Apache-2.0
// Rows of the peripheral module's operations on serial ports, pipe mode and LEDs, and those that bring it up.
#include <iterator>
#include <utility>

#include <termios.h>

#include "a_vextvfapi_prphrl.h"
#include "operations/operation.h"

namespace tool {

namespace {

// What several examples need.
constexpr char kUart[] = "prphrl_start_factory_uart 115200 0";
constexpr char kNoTty[] = "99 is no open terminal; a program passes a descriptor of its own";

constexpr long long kU8Max = 0xFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

// What an engineer may want to read at once.
constexpr long long kReadLimit = 1ll << 20;

// Numbers without a meaning may be given, too: refusing them is the library's work.
Argument anySignedChar(const char* name, const char* help, std::vector<Choice> choices = {},
                       std::optional<std::string> byDefault = std::nullopt) {
    return {
        name, choices.empty() ? Kind::number : Kind::choice, help, -128, 127, std::move(choices), std::move(byDefault)};
}

Argument baudRate() {
    return anySignedChar("baudrate", "the line's speed",
                         {{"19200", 0}, {"38400", 1}, {"57600", 2}, {"230400", 3}, {"115200", 4}});
}

Argument config(std::optional<std::string> byDefault) {
    return {"config",
            Kind::choice,
            "direction of the link; one that only writes can never be stopped",
            0,
            kU32Max,
            {{"read", fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ},
             {"write", fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_WRITE},
             {"both", fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ_WRITE}},
            std::move(byDefault)};
}

Argument speed() {
    return {"speed",
            Kind::choice,
            "a speed of termios",
            kI32Min,
            kI32Max,
            {{"9600", B9600},
             {"19200", B19200},
             {"38400", B38400},
             {"57600", B57600},
             {"115200", B115200},
             {"230400", B230400}},
            "115200"};
}

Argument descriptor() {
    return {"fd", Kind::number, "descriptor of an open tty", kI32Min, kI32Max};
}

Argument data(long long max) {
    return {"data", Kind::bytes, "what to send", 0, max};
}

long long readTty(Call& call) {
    Bytes buffer = Call::buffer(call.number<std::size_t>(0));
    const long long count = _a_vextvfapi_prphrl_uartRead(buffer.data(), buffer.size());
    if (count >= 0) {
        buffer.resize(static_cast<std::size_t>(count));
        call.out("data", std::move(buffer));
    }
    return count;
}

std::vector<OperationRow> startUpOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_init",
                     "Bring up the middleware of serial ports, external inputs, CEC, I2C and remote control.",
                     Result::status, {}, {}, [](Call&) -> long long { return a_vextvfapi_prphrl_init(); })
            .example("prphrl_init"),
        OperationRow("a_vextvfapi_prphrl_deinit", "End the use of the peripheral module; does nothing.", Result::status,
                     {}, {}, [](Call&) -> long long { return a_vextvfapi_prphrl_deinit(); })
            .example("prphrl_deinit"),
        OperationRow("_a_vextvfapi_prphrl_init_cec", "Bring up CEC alone.", Result::status, {}, {},
                     [](Call&) -> long long { return _a_vextvfapi_prphrl_init_cec(); })
            .example("_prphrl_init_cec"),
        OperationRow("_a_vextvfapi_prphrl_extin_Init", "Bring up the external inputs alone and count the HDMI ports.",
                     Result::status, {}, {}, [](Call&) -> long long { return _a_vextvfapi_prphrl_extin_Init(); })
            .example("_prphrl_extin_Init"),
    };
}

std::vector<OperationRow> factoryUartOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_start_factory_uart",
                     "Receive lines of a test station on a serial port; each is event 0x100001.", Result::oneIsGood,
                     {baudRate(), anySignedChar("port", "the serial port, 0 to 4"),
                      anySignedChar("device", "what the port is opened as, 0 to 17", {}, "0")},
                     {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_start_factory_uart(
                             call.number<signed char>(0), call.number<signed char>(1), call.number<signed char>(2));
                     })
            .example("prphrl_start_factory_uart 115200 0"),
        OperationRow(
            "a_vextvfapi_prphrl_stop_factory_uart", "Stop receiving lines; closes the port that start has opened.",
            Result::oneIsGood, {anySignedChar("port", "the serial port, 0 to 4")}, {},
            [](Call& call) -> long long { return a_vextvfapi_prphrl_stop_factory_uart(call.number<signed char>(0)); })
            .example("prphrl_stop_factory_uart 0", {kUart}),
        OperationRow("a_vextvfapi_prphrl_write_factory_uart", "Send bytes and CR LF to the test station.",
                     Result::oneIsGood, {data(kU32Max)}, {},
                     [](Call& call) -> long long {
                         const Bytes bytes = call.exactBytes(0);
                         return a_vextvfapi_prphrl_write_factory_uart(bytes.data(),
                                                                      static_cast<unsigned int>(bytes.size()));
                     })
            .example("prphrl_write_factory_uart \"SERIAL=LM55-000815\"", {kUart}),
        OperationRow("a_vextvfapi_prphrl_switch_to_ttys1", "Route the board's serial line to ttyS1, or back to ttyS0.",
                     Result::status, {{"enable", Kind::flag, "on: ttyS1, off: ttyS0"}}, {},
                     [](Call& call) -> long long { return a_vextvfapi_prphrl_switch_to_ttys1(call.number(0) != 0); })
            .example("prphrl_switch_to_ttys1 on"),
    };
}

std::vector<OperationRow> standardLinkOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_std_factory_uart_start",
                     "Receive messages on ttyS0 or ttyS1; each is event 0x100001.", Result::status,
                     {baudRate(), anySignedChar("port", "the tty, 0 or 1"), config("both")}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_std_factory_uart_start(
                             call.number<signed char>(0), call.number<signed char>(1),
                             call.number<fapi_core::VexTvFApiStdFactoryUartConfig>(2));
                     })
            .example("prphrl_std_factory_uart_start 115200 0 both"),
        OperationRow("a_vextvfapi_prphrl_std_factory_uart_stop",
                     "Stop receiving messages and close the tty; takes a second.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_prphrl_std_factory_uart_stop(); })
            .example("prphrl_std_factory_uart_stop", {"prphrl_std_factory_uart_start 115200 0 both"}),
        OperationRow("a_vextvfapi_prphrl_std_factory_uart_write", "Send bytes on the tty, as they are.", Result::status,
                     {data(kU8Max)}, {},
                     [](Call& call) -> long long {
                         const Bytes bytes = call.exactBytes(0);
                         return a_vextvfapi_prphrl_std_factory_uart_write(bytes.data(),
                                                                          static_cast<unsigned char>(bytes.size()));
                     })
            .example("prphrl_std_factory_uart_write \"READY\\n\"", {"prphrl_std_factory_uart_start 115200 0 both"}),
        OperationRow(
            "a_vextvfapi_prphrl_std_factory_uart_custom_config",
            "Set how the bytes of the running link are cut into messages.", Result::status,
            {anySignedChar("mode", "what ends a message: CR or LF, its size, a byte of its own, or every byte",
                           {{"line", 0}, {"size", 1}, {"end", 2}, {"byte", 3}}),
             {"end", Kind::bytes, "the byte that ends a message in mode end", 1, 1, {}, "hex:0d"},
             {"size", Kind::number, "bytes of a message in modes size and end; 0: as before", 0, kU32Max, {}, "0"}},
            {},
            [](Call& call) -> long long {
                return a_vextvfapi_prphrl_std_factory_uart_custom_config(call.number<signed char>(0), call.bytes(1)[0],
                                                                         call.number<unsigned int>(2));
            })
            .example("prphrl_std_factory_uart_custom_config end ; 8", {"prphrl_std_factory_uart_start 115200 0 both"}),
    };
}

std::vector<OperationRow> ttyOperations() {
    return {
        OperationRow("_a_vextvfapi_prphrl_uartOpen",
                     "Open a tty for the standard factory link; an earlier one stays open.", Result::oneIsGood,
                     {{"path", Kind::path, "the tty"},
                      speed(),
                      {"blocking", Kind::flag, "whether a read waits for a byte", 0, 0, {}, "off"},
                      config("both")},
                     {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_prphrl_uartOpen(call.text(0).c_str(), call.number<int>(1),
                                                             call.number<int>(2),
                                                             call.number<fapi_core::VexTvFApiStdFactoryUartConfig>(3));
                     })
            .example("_prphrl_uartOpen /dev/ttyS0 115200"),
        OperationRow("_a_vextvfapi_prphrl_setInterfaceAttr", "Make a tty a raw line of 8 data bits.", Result::oneIsGood,
                     {descriptor(),
                      speed(),
                      {"parity",
                       Kind::choice,
                       "parity bit",
                       kI32Min,
                       kI32Max,
                       {{"none", 0}, {"even", PARENB}, {"odd", PARENB | PARODD}},
                       "none"}},
                     {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_prphrl_setInterfaceAttr(call.number<int>(0), call.number<int>(1),
                                                                     call.number<int>(2));
                     })
            .example("_prphrl_setInterfaceAttr 99 115200", {})
            .failing(kNoTty),
        OperationRow("_a_vextvfapi_prphrl_setBlocking",
                     "Make reads of a tty wait for a byte, or for half a second at most.", Result::oneIsGood,
                     {descriptor(), {"blocking", Kind::flag, "on: wait for a byte"}}, {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_prphrl_setBlocking(call.number<int>(0), call.number<int>(1));
                     })
            .example("_prphrl_setBlocking 99 on", {})
            .failing(kNoTty),
        OperationRow("_a_vextvfapi_prphrl_uartWritestr", "Write a text to the standard factory link's tty.",
                     Result::countOrNegative, {{"text", Kind::text, "what to write"}}, {},
                     [](Call& call) -> long long { return _a_vextvfapi_prphrl_uartWritestr(call.text(0).c_str()); })
            .example("_prphrl_uartWritestr READY", {"_prphrl_uartOpen /dev/ttyS0 115200"}),
        OperationRow("_a_vextvfapi_prphrl_uartWrite", "Write bytes to the standard factory link's tty.",
                     Result::countOrNegative, {data(kU32Max)}, {},
                     [](Call& call) -> long long {
                         Bytes bytes = call.exactBytes(0);
                         return _a_vextvfapi_prphrl_uartWrite(bytes.data(), bytes.size());
                     })
            .example("_prphrl_uartWrite text:READY", {"_prphrl_uartOpen /dev/ttyS0 115200"}),
        OperationRow("_a_vextvfapi_prphrl_uartRead", "Read what has come on the standard factory link's tty.",
                     Result::countOrNegative,
                     {{"size", Kind::number, "how many bytes at most", 0, kReadLimit, {}, "4096"}},
                     {{"data", "the bytes", true}}, readTty)
            .example("_prphrl_uartRead 16", {"_prphrl_uartOpen /dev/ttyS0 115200", "set type 0 READY"}),
    };
}

std::vector<OperationRow> pipeOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_set_uart_pipe_mode",
                     "Start or stop taking commands from the FIFO /data/vendor/uartCmdPipe; each is event 0x100003.",
                     Result::status,
                     {{"enable", Kind::flag, "on: start, off: stop"},
                      {"end", Kind::text, "its first byte ends a command", 0, 0, {}, "\n"}},
                     {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_set_uart_pipe_mode(call.number<unsigned char>(0), call.utext(1));
                     })
            .example("prphrl_set_uart_pipe_mode on ;"),
        OperationRow("_a_vextvfapi_prphrl_create_pipe_file",
                     "Make the FIFO of pipe mode and open it, which waits until somebody writes.",
                     Result::countOrNegative, {}, {},
                     [](Call&) -> long long { return _a_vextvfapi_prphrl_create_pipe_file(); })
            .example("_prphrl_create_pipe_file", {"set remove /data/vendor"})
            .failing("its folder is missing; where it is there, this waits until another program writes to the FIFO"),
    };
}

std::vector<OperationRow> keyAndLedOperations() {
    const Argument enable = {"enable", Kind::flag, "on or off"};
    return {
        OperationRow("a_vextvfapi_prphrl_enable_ir_block_key",
                     "Block keys of the remote control, which this chip cannot.", Result::alwaysFails, {enable}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_enable_ir_block_key(call.number<unsigned char>(0));
                     })
            .example("prphrl_enable_ir_block_key on"),
        OperationRow("a_vextvfapi_prphrl_add_ir_block_key", "Add a key to the blocked ones, which this chip cannot.",
                     Result::alwaysFails,
                     {{"scan", Kind::number, "the key's scan code", 0, 0x7FFFFFFFFFFFFFFFll},
                      {"key", Kind::number, "the key's code", 0, 0x7FFFFFFFFFFFFFFFll}},
                     {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_add_ir_block_key(call.number<unsigned long long>(0),
                                                                    call.number<unsigned long long>(1));
                     })
            .example("prphrl_add_ir_block_key 1 2"),
        OperationRow("a_vextvfapi_prphrl_invert_ir_block_key",
                     "Block all keys but the blocked ones, which this chip cannot.", Result::alwaysFails, {enable}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_invert_ir_block_key(call.number<unsigned char>(0));
                     })
            .example("prphrl_invert_ir_block_key on"),
        OperationRow(
            "a_vextvfapi_prphrl_set_mic_led",
            "Show a cycle of colours or white on the LED ring, or end the cycle and leave what it shows.",
            Result::status,
            {{"mode", Kind::choice, "what to show", 0, kU32Max, {{"cycle", 0}, {"white", 1}, {"off", 2}}}}, {},
            [](Call& call) -> long long { return a_vextvfapi_prphrl_set_mic_led(call.number<unsigned int>(0)); })
            .example("prphrl_set_mic_led white"),
    };
}

}  // namespace

std::vector<OperationRow> prphrlOperations() {
    std::vector<OperationRow> rows;
    for (std::vector<OperationRow> some : {startUpOperations(), factoryUartOperations(), standardLinkOperations(),
                                           ttyOperations(), pipeOperations(), keyAndLedOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
