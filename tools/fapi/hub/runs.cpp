// SPDX-License-Identifier: Apache-2.0
// The hub: which runs go on, and how far they have come.
#include "hub/hub.h"

namespace tool {

// Keeps how far the client's run has come, so that clients which come later know it, too.
void Hub::progress(HubClient& client, const Request& request) {
    client.progress = request.params;
    answer(client, request, Field::Fields());
    tellProgress(client);
}

void Hub::watchRuns(HubClient& client, const Request& request) {
    const bool on = request.params.at("on").flag();
    answer(client, request, Field::Fields());
    if (!on) {
        client.watches.erase(request.method);
        return;
    }
    client.watches.insert(request.method);
    for (const auto& [id, known] : _clients) {
        if (!known->progress.isNull()) {
            client.send(progressLine(*known));
        }
    }
}

void Hub::tellProgress(const HubClient& runner) {
    const SharedLine line = progressLine(runner);
    for (const auto& [id, known] : _clients) {
        if (known->watches.count(kRunWatch) != 0 && !known->isGone) {
            known->notify("progress", line);
        }
    }
}

SharedLine Hub::progressLine(const HubClient& runner) {
    Field params = {{"client", runner.id}, {"name", runner.name}, {"pid", runner.pid}};
    params.set("gone", runner.isGone);
    params.set("run", runner.progress);
    return std::make_shared<const std::string>(frame(toField(Notification{"progress", params}), Framing::plain));
}

}  // namespace tool
