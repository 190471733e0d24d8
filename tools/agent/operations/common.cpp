// SPDX-License-Identifier: Apache-2.0
// Rows of the frame's operations.
#include "a_vextvfapi_common.h"
#include "operations/operation.h"

namespace tool {

namespace {

// A decoder and the bytes it needs.
template <auto decode>
long long decodeBytes(Call& call) {
    Bytes bytes = call.bytes(0);
    return static_cast<long long>(decode(reinterpret_cast<signed char*>(bytes.data())));
}

OperationRow decoder(const char* name, const char* help, long long size, const char* bytes, OperationRow::Run run) {
    return OperationRow(name, help, Result::value, {{"data", Kind::bytes, "the bytes to read", size, size}}, {}, run)
        .example((std::string(name) + " hex:" + bytes).c_str());
}

long long getVersion(Call& call) {
    Bytes buffer = Call::buffer(call.number<std::size_t>(0), 0xFF);
    const int status =
        a_vextvfapi_common_get_fapi_version(reinterpret_cast<char*>(buffer.data()), call.number<unsigned int>(0));
    if (status == 0) {
        call.outText("version", buffer);
    }
    return status;
}

}  // namespace

std::vector<OperationRow> commonOperations() {
    return {
        OperationRow("a_vextvfapi_common_get_fapi_status",
                     "Tell whether the set was in factory mode at the last start: 0, or -5.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_common_get_fapi_status(); })
            .example("common_get_fapi_status"),
        OperationRow("a_vextvfapi_common_get_fapi_version", "Read the library's version.", Result::status,
                     {{"size", Kind::number, "size of the buffer in bytes; below 10 is refused", 0, 4096, {}, "32"}},
                     {{"version", "the version's text"}}, getVersion)
            .example("common_get_fapi_version"),
        OperationRow(
            "a_vextvfapi_common_hw_err_msg", "Translate a result code of the middleware into a status.", Result::value,
            {{"code", Kind::number, "the middleware's code", 0, 0xFFFFFFFFll}}, {},
            [](Call& call) -> long long { return a_vextvfapi_common_hw_err_msg(call.number<unsigned int>(0)); })
            .example("common_hw_err_msg 3"),
        OperationRow("_a_vextvfapi_common_init", "Read the debug switch and the factory-mode marker anew.",
                     Result::status, {}, {}, [](Call&) -> long long { return _a_vextvfapi_common_init(); })
            .example("_common_init"),
        OperationRow("_a_vextvfapi_common_init_debug_level", "Tell whether the debug switch file exists: 1 or 0.",
                     Result::value, {}, {}, [](Call&) -> long long { return _a_vextvfapi_common_init_debug_level(); })
            .example("_common_init_debug_level"),
        decoder("_bytes_to_int", "Read four bytes as a signed big-endian number.", 4, "00000102",
                decodeBytes<_bytes_to_int>),
        decoder("_bytes_to_short", "Read two bytes as a big-endian number.", 2, "0102", decodeBytes<_bytes_to_short>),
        decoder("_bytes_to_bool", "Read one byte as it is.", 1, "01", decodeBytes<_bytes_to_bool>),
        decoder("_bytes_to_one_byte_enum", "Read one byte as it is.", 1, "05", decodeBytes<_bytes_to_one_byte_enum>),
    };
}

}  // namespace tool
