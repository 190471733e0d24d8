// SPDX-License-Identifier: Apache-2.0
// What a person does to the set.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "actions/log_switch.h"
#include "hw3/hw_types.h"
#include "actions/action.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char kFactoryService[] = "/vendor/factory/bin/factory_svc";

// A path that a person may touch: one of the set's own.
std::string ownPath(const std::string& path) {
    std::string host = vset::hostPath(path);
    if (host == path) {
        throw vset::SetError(path + ": is no path of the set (those begin with /data, /vendor or /mnt)");
    }
    return host;
}

void writeFile(const std::string& path, const Bytes& bytes) {
    const std::string host = ownPath(path);
    const vset::HostPaths hostPaths;
    std::error_code error;
    fs::create_directories(fs::path(host).parent_path(), error);
    std::ofstream file(host, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        vset::noteHostTrouble(host, errno);
        throw vset::SetError(path + ": cannot be written");
    }
}

void removeFile(const std::string& path, bool mustExist) {
    const std::string host = ownPath(path);
    const vset::HostPaths hostPaths;
    std::error_code error;
    if (fs::remove_all(host, error) == 0 && mustExist) {
        throw vset::SetError(path + ": does not exist");
    }
    if (error) {
        throw vset::SetError(path + ": " + error.message());
    }
}

void put(Call& call) {
    writeFile(call.text(0), call.bytes(1));
}

void get(Call& call) {
    const std::string host = ownPath(call.text(0));
    const vset::HostPaths hostPaths;
    std::ifstream file(host, std::ios::binary);
    if (!file || fs::is_directory(host)) {
        throw vset::SetError(call.text(0) + ": cannot be read");
    }
    call.out("content", std::string(std::istreambuf_iterator<char>(file), {}));
}

// The presence of a file as a switch.
void switchFile(Call& call, const char* path) {
    if (call.number(0) != 0) {
        writeFile(path, {});
    } else {
        removeFile(path, false);
    }
}

}  // namespace

std::vector<ActionRow> fileActions() {
    return {
        ActionRow("put", "Copy a file onto the set, for example onto the USB stick below /mnt/usb.", {{"path", Kind::path, "where to"}, {"content", Kind::bytes, "what it holds"}}, {}, put),
        ActionRow("get", "Show a file of the set.", {{"path", Kind::path, "the file"}}, {{"content", "what it holds"}}, get),
        ActionRow("remove", "Remove a file or folder from the set.", {{"path", Kind::path, "the file"}}, {}, [](Call& call) { removeFile(call.text(0), true); }),
        ActionRow("log", "Switch the library's log on or off, as of the next a_vextvfapi_sys_init.", {{"state", Kind::flag, "on or off"}}, {}, [](Call& call) {
             switchFile(call, kLogSwitch);
         }),
        ActionRow("factory", "Put the factory service there or take it away, which marks factory mode.", {{"state", Kind::flag, "on or off"}}, {}, [](Call& call) { switchFile(call, kFactoryService); }),
    };
}

}  // namespace tool
