// SPDX-License-Identifier: Apache-2.0
// Rows of the system module's operations.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "a_vextvfapi_sys.h"
#include "operations/operation.h"
#include "vset/vset.h"

namespace tool {

namespace {

// What several examples need.
constexpr char kNote[] = "set put /mnt/usb/note.txt \"first line\\nsecond line\\n\"";

namespace fs = std::filesystem;

constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;
// What an engineer may want to read at once.
constexpr long long kReadLimit = 64ll << 20;

const unsigned char* u8(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.c_str());
}

Argument path(const char* help) {
    return {"path", Kind::path, help};
}

Argument flashType() {
    return {"type",
            Kind::choice,
            "the flash that holds the environment",
            0,
            E_HW_FLASH_TYPE_FORCE_U32,
            {{"spi_nor", E_HW_FLASH_TYPE_SPI_NOR}, {"nand", E_HW_FLASH_TYPE_NAND}, {"emmc", E_HW_FLASH_TYPE_EMMC}},
            "emmc"};
}

Argument key() {
    return {"key", Kind::text, "name of the variable"};
}

Argument valueSize() {
    return {"size", Kind::number, "size of the buffer in bytes; a longer value is refused", 0, 65536, {}, "2048"};
}

// Reads a variable through `get` into a buffer of the size at the second argument.
template <class Get>
long long readVariable(Call& call, Get&& get) {
    Bytes buffer = Call::buffer(call.number<std::size_t>(1));
    const int status = get(buffer.data(), call.number<unsigned int>(1));
    if (status == 0) {
        call.outText("value", buffer);
    }
    return status;
}

long long getFlashHandle(Call& call) {
    int handle = 0;
    unsigned char opened = 0;
    const int result = _a_vextvfapi_sys_get_flash_handle(handle, call.number<HW_FLASH_Type_e>(0), opened);
    call.out("handle", static_cast<long long>(handle));
    call.out("opened", static_cast<long long>(opened));
    return result;
}

long long readLine(Call& call) {
    Bytes buffer = Call::buffer(call.number<std::size_t>(1));
    const int status = a_vextvfapi_sys_read_file_one_line(call.utext(0), buffer.data(), call.number<unsigned int>(1),
                                                          call.number<unsigned long long>(2));
    if (status == 0) {
        call.outText("line", buffer);
    }
    return status;
}

long long readBlock(Call& call) {
    Bytes buffer = Call::buffer(call.number<std::size_t>(1));
    unsigned int length = 0;
    const int status = a_vextvfapi_sys_read_file(call.utext(0), buffer.data(), call.number<unsigned int>(1),
                                                 call.number<unsigned long long>(2), &length);
    call.out("length", static_cast<long long>(length));
    if (status == 0) {
        buffer.resize(length);
        call.out("data", std::move(buffer));
    }
    return status;
}

long long checksum(Call& call) {
    unsigned int sum = 0;
    const int status = a_vextvfapi_sys_get_file_checksum(call.utext(0), &sum);
    if (status == 0) {
        call.out("checksum", static_cast<long long>(sum));
    }
    return status;
}

// Whether the destination, the second argument, is another file of the set that holds what the first one does.
bool isCopied(const Call& call) {
    const std::string source = vset::hostPath(call.text(0)), destination = vset::hostPath(call.text(1));
    const vset::HostPaths hostPaths;
    std::error_code error;
    if (!fs::is_regular_file(source, error) || fs::equivalent(source, destination, error)) {
        return false;
    }
    std::ifstream from(source, std::ios::binary), to(destination, std::ios::binary);
    using Reader = std::istreambuf_iterator<char>;
    return from.is_open() && to.is_open() && std::equal(Reader(from), Reader(), Reader(to), Reader());
}

long long getDataIndexPath(Call& call) {
    Bytes buffer = Call::buffer(call.number<std::size_t>(0));
    const int status = a_vextvfapi_sys_get_dataindex_path(buffer.data(), call.number<unsigned int>(0));
    if (status == 0) {
        call.outText("path", buffer);
    }
    return status;
}

long long getCustomerHash(Call& call) {
    Bytes hash = Call::buffer(call.number<std::size_t>(0));
    unsigned int copied = 0;
    const int status = a_vextvfapi_sys_get_customer_hash(call.number<unsigned int>(0), hash.data(), &copied);
    if (status == 0) {
        hash.resize(std::min<std::size_t>(copied, hash.size()));
        call.out("hash", std::move(hash));
    }
    return status;
}

std::vector<OperationRow> environmentOperations() {
    return {
        OperationRow("a_vextvfapi_sys_init",
                     "Bring up system, flash, file-system and watchdog middleware: the first call of all.",
                     Result::status, {}, {}, [](Call&) -> long long { return a_vextvfapi_sys_init(); })
            .example("sys_init"),
        OperationRow("a_vextvfapi_sys_deinit", "End the use of the system module; does nothing.", Result::status, {},
                     {}, [](Call&) -> long long { return a_vextvfapi_sys_deinit(); })
            .example("sys_deinit"),
        OperationRow("a_vextvfapi_sys_get_emmc_env_var", "Read a boot environment variable from eMMC.", Result::status,
                     {key(), valueSize()}, {{"value", "the variable's value"}},
                     [](Call& call) {
                         return readVariable(call, [&](unsigned char* buffer, unsigned int size) {
                             return a_vextvfapi_sys_get_emmc_env_var(u8(call.text(0)), buffer, size);
                         });
                     })
            .example("sys_get_emmc_env_var serial", {"sys_set_emmc_env_var serial LM55-000815"}),
        OperationRow(
            "a_vextvfapi_sys_set_emmc_env_var", "Write a boot environment variable to eMMC and verify it.",
            Result::status, {key(), {"value", Kind::text, "its new value, at most 2,046 characters"}}, {},
            [](Call& call) -> long long { return a_vextvfapi_sys_set_emmc_env_var(call.utext(0), call.utext(1)); })
            .destroying("overwrites the variable")
            .example("sys_set_emmc_env_var serial LM55-000815"),
        OperationRow("_a_vextvfapi_sys_get_env_var", "Read a boot environment variable from any flash.", Result::status,
                     {key(), valueSize(), flashType()}, {{"value", "the variable's value"}},
                     [](Call& call) {
                         return readVariable(call, [&](unsigned char* buffer, unsigned int size) {
                             return _a_vextvfapi_sys_get_env_var(u8(call.text(0)), buffer, size,
                                                                 call.number<HW_FLASH_Type_e>(2));
                         });
                     })
            .example("_sys_get_env_var serial 64 emmc", {"sys_set_emmc_env_var serial LM55-000815"}),
        OperationRow(
            "_a_vextvfapi_sys_set_env_var", "Write a boot environment variable to any flash and verify it.",
            Result::status, {key(), {"value", Kind::text, "its new value, at most 2,046 characters"}, flashType()}, {},
            [](Call& call) -> long long {
                return _a_vextvfapi_sys_set_env_var(call.utext(0), call.utext(1), call.number<HW_FLASH_Type_e>(2));
            })
            .destroying("overwrites the variable")
            .example("_sys_set_env_var serial LM55-000815 emmc"),
        OperationRow("_a_vextvfapi_sys_get_flash_handle",
                     "Look up or open a flash handle; one that it opened stays open.", Result::status, {flashType()},
                     {{"handle", "the handle", false, "", Role::changing},
                      {"opened", "1 when it was opened by this call", false, "", Role::changing}},
                     getFlashHandle)
            .example("_sys_get_flash_handle emmc"),
    };
}

std::vector<OperationRow> fileOperations() {
    return {
        OperationRow("a_vextvfapi_sys_check_file", "Tell whether a file can be opened for reading.", Result::status,
                     {path("the file")}, {},
                     [](Call& call) -> long long { return a_vextvfapi_sys_check_file(call.utext(0)); })
            .example("sys_check_file /mnt/usb/note.txt", {kNote}),
        OperationRow("a_vextvfapi_sys_remove_file", "Remove a file.", Result::status, {path("the file")}, {},
                     [](Call& call) -> long long { return a_vextvfapi_sys_remove_file(call.utext(0)); })
            .destroying("removes the file")
            .example("sys_remove_file /mnt/usb/note.txt", {kNote}),
        OperationRow("a_vextvfapi_sys_create_folder", "Create a folder, but not its parents.", Result::status,
                     {path("the folder")}, {},
                     [](Call& call) -> long long { return a_vextvfapi_sys_create_folder(call.utext(0)); })
            .example("sys_create_folder /mnt/usb/records"),
        OperationRow("a_vextvfapi_sys_check_folder", "Tell whether a path exists, as a folder or as a file.",
                     Result::status, {path("the folder")}, {},
                     [](Call& call) -> long long { return a_vextvfapi_sys_check_folder(call.utext(0)); })
            .example("sys_check_folder /mnt/usb"),
        OperationRow("a_vextvfapi_sys_create_file", "Create an empty file; refused when it exists.", Result::status,
                     {path("the file")}, {},
                     [](Call& call) -> long long { return a_vextvfapi_sys_create_file(call.utext(0)); })
            .example("sys_create_file /mnt/usb/new.txt"),
        OperationRow("a_vextvfapi_sys_copy_file",
                     "Copy a file. The status is -1 always; good when the destination holds what the source does.",
                     Result::alwaysFails,
                     {{"source", Kind::path, "the file to copy"},
                      {"destination", Kind::path, "where to"},
                      {"keep", Kind::flag, "on: leave an existing destination alone", 0, 0, {}, "off"}},
                     {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_sys_copy_file(call.utext(0), call.utext(1), call.number(2) != 0);
                     })
            .destroying("overwrites the destination")
            .verifiedBy(isCopied)
            .example("sys_copy_file /mnt/usb/note.txt /data/note.txt", {kNote}),
        OperationRow("a_vextvfapi_sys_read_file_one_line", "Read one line of a file.", Result::status,
                     {path("the file"),
                      {"size", Kind::number, "size of the buffer in bytes", 0, kReadLimit, {}, "1024"},
                      {"position", Kind::number, "first byte to read", 0, 0x7FFFFFFFFFFFFFFFll, {}, "0"}},
                     {{"line", "the line with its newline"}}, readLine)
            .example("sys_read_file_one_line /mnt/usb/note.txt", {kNote}),
        OperationRow("a_vextvfapi_sys_read_file", "Read a block of a file.", Result::status,
                     {path("the file"),
                      {"size", Kind::number, "how many bytes at most", 0, kReadLimit, {}, "4096"},
                      {"position", Kind::number, "first byte to read", 0, 0x7FFFFFFFFFFFFFFFll, {}, "0"}},
                     {{"length", "how many bytes were read"}, {"data", "the bytes", true}}, readBlock)
            .example("sys_read_file /mnt/usb/note.txt", {kNote}),
        OperationRow("a_vextvfapi_sys_get_file_checksum", "Sum up the bytes of a file, modulo 65,536.", Result::status,
                     {path("the file")}, {{"checksum", "the sum"}}, checksum)
            .example("sys_get_file_checksum /mnt/usb/note.txt", {kNote}),
        OperationRow("a_vextvfapi_sys_write_file", "Write bytes to a file.", Result::status,
                     {path("the file"),
                      {"data", Kind::bytes, "what to write", 0, kU32Max},
                      {"mode", Kind::text, "open mode as of stdio: wb, ab, ...", 0, 16, {}, "wb"}},
                     {},
                     [](Call& call) -> long long {
                         const Bytes data = call.exactBytes(1);
                         return a_vextvfapi_sys_write_file(call.utext(0), data.data(),
                                                           static_cast<unsigned int>(data.size()), call.utext(2));
                     })
            .destroying("overwrites the file")
            .example("sys_write_file /mnt/usb/note.txt \"a note\\n\""),
        OperationRow("a_vextvfapi_sys_change_file_mode", "Set the permission bits of a file.", Result::status,
                     {path("the file"), {"mode", Kind::number, "the bits, octal with a leading 0: 0644", 0, 07777}}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_sys_change_file_mode(call.utext(0), call.number<unsigned int>(1));
                     })
            .example("sys_change_file_mode /mnt/usb/note.txt 0444", {kNote}),
        OperationRow("a_vextvfapi_sys_sync_fs", "Flush all file systems.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_sys_sync_fs(); })
            .example("sys_sync_fs"),
    };
}

std::vector<OperationRow> daemonAndChipOperations() {
    const Argument command = {"command", Kind::number, "the command; the daemon knows 0 and 1", kI32Min, kI32Max};
    return {
        OperationRow("a_vextvfapi_sys_send_cmd_to_factory_svc",
                     "Have the factory daemon run a command, and wait for its answer for as long as it takes.",
                     Result::status,
                     {command, {"parameters", Kind::text, "the command's parameters, at most 254 characters"}}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_sys_send_cmd_to_factory_svc(call.number<int>(0), call.text(1).c_str());
                     })
            .example("sys_send_cmd_to_factory_svc 0 mode=aging", {"set daemon answer"}),
        OperationRow("_a_vextvfapi_sys_convert_factory_cmd", "Tell the factory daemon's number of a command, or -1.",
                     Result::value, {command}, {},
                     [](Call& call) -> long long { return _a_vextvfapi_sys_convert_factory_cmd(call.number<int>(0)); })
            .example("_sys_convert_factory_cmd 0"),
        OperationRow("a_vextvfapi_sys_get_dataindex_path",
                     "Tell the path of the file that names the set's configuration files.", Result::status,
                     {{"size", Kind::number, "size of the buffer in bytes; below 128 is refused", 0, 65536, {}, "128"}},
                     {{"path", "the file"}}, getDataIndexPath)
            .example("sys_get_dataindex_path"),
        OperationRow("a_vextvfapi_sys_get_customer_hash", "Read the customer hash of the chip.", Result::status,
                     {{"size", Kind::number, "size of the buffer in bytes; below 16 is refused", 0, 65536, {}, "16"}},
                     {{"hash", "the hash", true, "", Role::secret}}, getCustomerHash)
            .example("sys_get_customer_hash"),
    };
}

}  // namespace

std::vector<OperationRow> sysOperations() {
    std::vector<OperationRow> rows;
    for (std::vector<OperationRow> some : {environmentOperations(), fileOperations(), daemonAndChipOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
