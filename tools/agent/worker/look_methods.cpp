// SPDX-License-Identifier: Apache-2.0
// Methods that say what agent and set are and show.
#include <filesystem>

#include "a_vextvfapi_common.h"
#include "actions/data_source.h"
#include "actions/log_switch.h"
#include "actions/middleware_words.h"
#include "actions/picture_source.h"
#include "supervisor/internal.h"
#include "worker/arguments.h"
#include "worker/description.h"
#include "worker/method.h"
#include "worker/notices.h"
#include "worker/set_session.h"

namespace tool {

namespace {

Reply identity(const Field&) {
    char version[32] = {};
    a_vextvfapi_common_get_fapi_version(version, sizeof(version));
    Field answer = {{"library", version},
                    {"interface", FAPI_VERSION},
                    {"kind", isBoard() ? "board" : "virtual"},
                    {"description", ownDescription().hash}};
    if (const std::string folder = setFolder(); !folder.empty()) {
        answer.set("set", Field{{"folder", Field::ofSet(folder)}});
    }
    return answer;
}

Reply describe(const Field& params) {
    if (params["actions"].flagOr(false)) {
        return toField(ownActions());
    }
    static const Field description = toField(ownDescription());
    return description;
}

Reply events(const Field& params) {
    reportEvents(params["on"].flagOr(true));
    return {};
}

Reply journal(const Field& params) {
    return Field{{"last", reportJournal(params["on"].flagOr(true))}};
}

// What the chip has refused since that refusal, on any thread. An answer comes after the events of before.
Reply refusals(const Field& params) {
    Outcome outcome;
    outcome.refusals = refusedCalls(static_cast<std::uint64_t>(params["after"].numberOr(0)), nullptr);
    Field answer = {{"count", vset::refusalCount()}};
    addTo(answer, outcome);
    return answer;
}

// Whether the set's own switch has the library's log on.
Reply log(const Field&) {
    const vset::HostPaths hostPaths;
    std::error_code error;
    return Field{{"on", std::filesystem::exists(vset::hostPath(kLogSwitch), error)}};
}

// Rows from the top, four bytes a pixel: red, green, blue, alpha. With `inRuns` each pixel has before it how many more
// of the kind follow, and those are left out.
Bytes pixelsOf(const vset::Picture& picture, bool inRuns) {
    constexpr std::size_t kMostMore = 255;
    const std::vector<std::uint32_t>& pixels = picture.pixels;
    Bytes bytes;
    bytes.reserve(inRuns ? 0 : pixels.size() * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const std::uint32_t pixel = pixels[i];
        if (inRuns) {
            std::size_t more = 0;
            while (more < kMostMore && i + 1 < pixels.size() && pixels[i + 1] == pixel) {
                ++more;
                ++i;
            }
            bytes.push_back(static_cast<unsigned char>(more));
        }
        for (const unsigned int shift : {16u, 8u, 0u, 24u}) {
            bytes.push_back(static_cast<unsigned char>(pixel >> shift));
        }
    }
    return bytes;
}

Reply picture(const Field& params) {
    const vset::Picture taken = takePicture(params.at("source").text());
    return {Field{{"width", taken.u32Width}, {"height", taken.u32Height}},
            piecesOf(pixelsOf(taken, params["runs"].flagOr(false)))};
}

Reply data(const Field& params) {
    const std::string& name = params.at("source").text();
    const DataSource* source = findDataSource(name);
    if (source == nullptr) {
        throw MessageError("no such data: " + name);
    }
    return Field{{"kind", source->kind},
                 {"series", source->series(argumentsOf(source->arguments, params["arguments"]))}};
}

}  // namespace

std::vector<Method> lookMethods() {
    return {{"data", data, true}, {"describe", describe},     {"events", events},     {kIdentity, identity},
            {"journal", journal}, {"picture", picture, true}, {"refusals", refusals}, {"set.log", log, true}};
}

}  // namespace tool
