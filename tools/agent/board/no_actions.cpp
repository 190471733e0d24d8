// SPDX-License-Identifier: Apache-2.0
// A board has no actions, pictures and data of its own: nobody but a person or a fixture acts on it.
#include "actions/action.h"
#include "actions/data_source.h"
#include "actions/picture_source.h"
#include "worker/method.h"

namespace tool {

const std::vector<ActionRow>& actionRows() {
    static const std::vector<ActionRow> none;
    return none;
}

const ActionRow* findActionRow(std::string_view) {
    return nullptr;
}

// An action cannot be found, so none is ever carried out or checked.
Outcome ActionRow::perform(const std::vector<Value>&) const {
    return {};
}

void ActionRow::check(const std::vector<Value>&, const std::vector<std::string>&) const {}

const std::vector<DataSource>& dataSources() {
    static const std::vector<DataSource> none;
    return none;
}

const DataSource* findDataSource(const std::string&) {
    return nullptr;
}

std::vector<PictureKind> pictureKinds() {
    return {};
}

vset::Picture takePicture(const std::string& word) {
    throw UsageError("a board shows no such picture: " + word);
}

static Reply refuse(const Field&) {
    throw RequestError(ErrorCode::notSupported, "only the agent of the virtual set does this");
}

std::vector<Method> imageMethods() {
    return {{"env.kept", refuse}, {"env.read", refuse}, {"env.write", refuse}};
}

std::vector<Method> setMethods() {
    return {{"set.backup", refuse}, {"set.damage", refuse},  {"set.ports", refuse},
            {"set.repair", refuse}, {"set.restore", refuse}, {"set.show", refuse}};
}

}  // namespace tool
