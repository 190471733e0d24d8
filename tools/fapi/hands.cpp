// SPDX-License-Identifier: Apache-2.0
// What a person does to the set.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "command.h"
#include "hw3/hw_types.h"
#include "log_switch.h"
#include "middleware_words.h"
#include "session.h"
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

void fault(Call& call) {
    // "failed" is no result of a function that answers no code.
    const long long result = call.number(1) != HW_ERR_FAILED ? call.number(1) : vset::kNoResult;
    vset::inject({call.text(0), result, call.number<unsigned int>(2), call.number<unsigned int>(3)});
}

void journal(Call& call) {
    const std::vector<vset::JournalEntry> entries = vset::journal();
    const auto wanted = call.number<std::size_t>(0);
    Rows rows;
    for (std::size_t i = entries.size() > wanted ? entries.size() - wanted : 0; i < entries.size(); ++i) {
        const vset::JournalEntry& entry = entries[i];
        rows.push_back({std::to_string(entry.u64Number) + " " + entry.pszCall + "(" + entry.strArguments +
                            ") = " + std::to_string(entry.s64Result) + (entry.bFault ? " by fault" : ""),
                        {{"number", static_cast<long long>(entry.u64Number)},
                         {"call", entry.pszCall},
                         {"arguments", entry.strArguments},
                         {"result", static_cast<long long>(entry.s64Result)},
                         {"fault", entry.bFault}}});
    }
    call.outRows("calls", std::move(rows));
}

void handles(Call& call) {
    Rows library, player;
    for (const vset::OpenHandle& handle : vset::openHandles()) {
        char line[128];
        std::snprintf(line, sizeof(line), "%s %llu 0x%x", handle.strFamily.c_str(),
                      static_cast<unsigned long long>(handle.u64Key), handle.u32Handle);
        (handle.bPlayer ? player : library)
            .push_back({line,
                        {{"family", handle.strFamily},
                         {"key", static_cast<long long>(handle.u64Key)},
                         {"handle", handle.u32Handle}}});
    }
    call.outRows("handles", std::move(library));
    call.outRows("player", std::move(player));
}

// The presence of a file as a switch.
void switchFile(Call& call, const char* path) {
    if (call.number(0) != 0) {
        writeFile(path, {});
    } else {
        removeFile(path, false);
    }
}

std::vector<Hand> setHands() {
    return {
        {"put",
         "Copy a file onto the set, for example onto the USB stick below /mnt/usb.",
         {{"path", Kind::path, "where to"}, {"content", Kind::bytes, "what it holds"}},
         {},
         put},
        {"get", "Show a file of the set.", {{"path", Kind::path, "the file"}}, {{"content", "what it holds"}}, get},
        {"remove",
         "Remove a file or folder from the set.",
         {{"path", Kind::path, "the file"}},
         {},
         [](Call& call) { removeFile(call.text(0), true); }},
        {"log",
         "Switch the library's log on or off, as of the next a_vextvfapi_sys_init.",
         {{"state", Kind::flag, "on or off"}},
         {},
         [](Call& call) {
             followLogSwitch();
             switchFile(call, kLogSwitch);
         }},
        {"factory",
         "Put the factory service there or take it away, which marks factory mode.",
         {{"state", Kind::flag, "on or off"}},
         {},
         [](Call& call) { switchFile(call, kFactoryService); }},
        {"fault",
         "Make a middleware function or \"allocation\" fail.",
         {{"call", Kind::function, "the function's name"},
          {"result", Kind::choice, "what it answers", -0x80000000ll, 0xFFFFFFFFll, failureCodes(), "failed"},
          {"from", Kind::number, "the first call to fail, counted from now", 1, 0xFFFFFFFFll, {}, "1"},
          {"times", Kind::number, "how many calls fail; 0: all from then on", 0, 0xFFFFFFFFll, {}, "1"}},
         {},
         fault,
         true},
        {"clear-faults", "Take all faults back.", {}, {}, [](Call&) { vset::clearFaults(); }, true},
        {"journal",
         "Show the last calls of the middleware.",
         {{"count", Kind::number, "how many", 1, 65536, {}, "20"}},
         {{"calls", "a line each, oldest first"}},
         journal,
         true},
        {"handles",
         "Show what is open in the middleware.",
         {},
         {{"handles", "of the library, a line each: family, what is open, handle"}, {"player", "of the set's player"}},
         handles,
         true},
    };
}

}  // namespace

const std::vector<Hand>& hands() {
    static const std::vector<Hand> all = [] {
        std::vector<Hand> rows;
        for (std::vector<Hand> some : {setHands(), boardHands(), chipHands(), displayHands(), hdmiHands(), inputHands(),
                                       panelHands(), pictureHands(), serialHands(), soundHands()}) {
            std::move(some.begin(), some.end(), std::back_inserter(rows));
        }
        return rows;
    }();
    return all;
}

const Hand* findHand(std::string_view name) {
    for (const Hand& hand : hands()) {
        if (name == hand.name) {
            return &hand;
        }
    }
    return nullptr;
}

}  // namespace tool
