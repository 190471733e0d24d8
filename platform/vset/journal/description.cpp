// SPDX-License-Identifier: Apache-2.0
#include "description.h"

#include <algorithm>

#include "describe.h"

namespace vset {

namespace {

constexpr std::size_t kMostParameters = 8;

std::vector<std::string> fieldsOf(const CallDescription& stCall) {
    std::vector<std::string> names;
    CallText text(names);
    const std::vector<RawArgument> none(kMostParameters, RawArgument(0));
    for (const auto* pWriters : {&stCall.inputs, &stCall.outputs}) {
        for (const WriteArgument& write : *pWriters) {
            write(text, {none.data()});
        }
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

bool isBefore(const CallDescription& stLeft, std::string_view right) {
    return stLeft.pszCall < right;
}

}  // namespace

const std::vector<CallDescription>& callDescriptions() {
    static const auto& descriptions = *new std::vector<CallDescription>([] {
        std::vector<CallDescription> all;
        for (const auto part :
             {describe::storage, describe::board, describe::inputs, describe::sound, describe::display}) {
            for (CallDescription& stCall : part()) {
                stCall.fields = fieldsOf(stCall);
                all.push_back(std::move(stCall));
            }
        }
        std::sort(all.begin(), all.end(), [](const CallDescription& stLeft, const CallDescription& stRight) {
            return isBefore(stLeft, stRight.pszCall);
        });
        return all;
    }());
    return descriptions;
}

const CallDescription* findCallDescription(std::string_view call) {
    const std::vector<CallDescription>& all = callDescriptions();
    const auto found = std::lower_bound(all.begin(), all.end(), call, isBefore);
    return found != all.end() && found->pszCall == call ? &*found : nullptr;
}

}  // namespace vset
