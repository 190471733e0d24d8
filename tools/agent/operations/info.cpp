// SPDX-License-Identifier: Apache-2.0
// Rows of the information module's operations.
#include <algorithm>

#include "a_vextvfapi_info.h"
#include "operations/operation.h"

namespace tool {

namespace {

Argument file() {
    return {"path", Kind::path, "the INI file"};
}

Argument key() {
    return {"key", Kind::text, "section:key"};
}

long long getIniPara(Call& call) {
    // A key that the file lacks leaves the buffer as it was; what was read is terminated.
    Bytes buffer = Call::buffer(call.number<std::size_t>(2), 0xFF);
    const int status =
        a_vextvfapi_info_get_ini_para(call.utext(0), call.utext(1), buffer.data(), call.number<unsigned int>(2));
    if (status == 0) {
        const bool found = std::find(buffer.begin(), buffer.end(), 0) != buffer.end();
        call.out("found", static_cast<long long>(found));
        call.outText("value", found ? buffer : Bytes());
    }
    return status;
}

}  // namespace

std::vector<OperationRow> infoOperations() {
    return {
        OperationRow("a_vextvfapi_info_init", "Begin the use of the information module; does nothing.", Result::status,
                     {}, {}, [](Call&) -> long long { return a_vextvfapi_info_init(); })
            .example("info_init"),
        OperationRow("a_vextvfapi_info_deinit", "End the use of the information module; does nothing.", Result::status,
                     {}, {}, [](Call&) -> long long { return a_vextvfapi_info_deinit(); })
            .example("info_deinit"),
        OperationRow(
            "a_vextvfapi_info_get_ini_para", "Read a value of an INI file. The status is 0 for a missing key, too.",
            Result::status,
            {file(),
             key(),
             {"size", Kind::number, "size of the buffer in bytes; a longer value is refused", 0, 65536, {}, "1024"}},
            {{"found", "0 when the file has no such key"}, {"value", "the value; empty when there is none"}},
            getIniPara)
            .example("info_get_ini_para /vendor/factory/config/ir.ini IR:IR_FORMAT"),
        OperationRow("a_vextvfapi_info_set_ini_para",
                     "Write a value into an INI file, which must exist, and flush all file systems.", Result::status,
                     {file(), key(), {"value", Kind::text, "the new value"}}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_info_set_ini_para(call.utext(0), call.utext(1), call.utext(2));
                     })
            .destroying("overwrites the value")
            .example("info_set_ini_para /vendor/factory/config/ir.ini IR:IR_FORMAT 2"),
    };
}

}  // namespace tool
