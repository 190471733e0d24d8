// SPDX-License-Identifier: Apache-2.0
// What a person does to the set.
#include <fstream>
#include <iterator>

#include "actions/action.h"
#include "actions/log_switch.h"
#include "actions/set_files.h"

namespace tool {

namespace {

constexpr char kFactoryService[] = "/vendor/factory/bin/factory_svc";

void get(Call& call) {
    std::ifstream file = openSetFile(call.text(0));
    call.out("content", std::string(std::istreambuf_iterator<char>(file), {}));
}

// The presence of a file as a switch.
void switchFile(const Call& call, const char* path) {
    if (call.number(0) != 0) {
        writeSetFile(path, {});
    } else {
        removeSetFile(path, false);
    }
}

}  // namespace

std::vector<ActionRow> fileActions() {
    return {
        ActionRow("put", "Copy a file onto the set, for example onto the USB stick below /mnt/usb.",
                  {{"path", Kind::path, "where to"}, {"content", Kind::bytes, "what it holds"}}, {},
                  [](Call& call) { writeSetFile(call.text(0), call.bytes(1)); }),
        ActionRow("get", "Show a file of the set.", {{"path", Kind::path, "the file"}}, {{"content", "what it holds"}},
                  get),
        ActionRow("remove", "Remove a file or folder from the set.", {{"path", Kind::path, "the file"}}, {},
                  [](Call& call) { removeSetFile(call.text(0), true); }),
        ActionRow("log", "Switch the library's log on or off, as of the next a_vextvfapi_sys_init.",
                  {{"state", Kind::flag, "on or off"}}, {},
                  [](Call& call) {
                      followSetSwitch();
                      switchFile(call, kLogSwitch);
                  }),
        ActionRow("factory", "Put the factory service there or take it away, which marks factory mode.",
                  {{"state", Kind::flag, "on or off"}}, {}, [](Call& call) { switchFile(call, kFactoryService); }),
    };
}

}  // namespace tool
