// SPDX-License-Identifier: Apache-2.0
// Lists of files with their SHA-256, as sha256sum makes and checks them.
#ifndef FAPI_AGENT_ACTIONS_SUMS_H
#define FAPI_AGENT_ACTIONS_SUMS_H

#include <map>
#include <string>
#include <string_view>

namespace tool {

// Path -> sum.
using Sums = std::map<std::string, std::string>;

std::string sumsText(const Sums& sums);
// Throws vset::SetError when the text is no such list.
Sums parseSums(std::string_view text);

}  // namespace tool

#endif
