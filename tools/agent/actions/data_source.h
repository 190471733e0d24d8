// SPDX-License-Identifier: Apache-2.0
// Numbers that the set has and no operation answers.
#ifndef FAPI_AGENT_ACTIONS_DATA_SOURCE_H
#define FAPI_AGENT_ACTIONS_DATA_SOURCE_H

#include <string>
#include <vector>

#include "protocol/description.h"

namespace tool {

struct DataSource : DataKind {
    // A list of {"name", "values"}. Throws vset::SetError when the set has no such numbers.
    Field (*series)(const std::vector<Value>& arguments);
};

const std::vector<DataSource>& dataSources();
// Null when there is none.
const DataSource* findDataSource(const std::string& name);

}  // namespace tool

#endif
