// SPDX-License-Identifier: Apache-2.0
// Variables of a boot environment as lines of text: "NAME=VALUE", for people to read and change.
#ifndef FAPI_BENCH_BASE_ENV_TEXT_H
#define FAPI_BENCH_BASE_ENV_TEXT_H

#include "base/env_image.h"

namespace tool {

// Escapes what is not printable: \\ for a backslash, \n for a new line, \xNN for other bytes that a terminal would obey
// or that are no UTF-8.
std::string escapeText(std::string_view text);

// "NAME=VALUE", escaped. A # that begins the line is escaped, too: it would be a comment.
std::string variableLine(const std::string& name, const std::string& value);

// "+ NAME=VALUE", "- NAME=VALUE" or "~ NAME: OLD -> NEW", escaped.
std::string changeLine(const EnvChange& change);

// The variables of a text of such lines. Lines that are empty or begin with # do not count, nor does a carriage return
// at a line's end. Throws UsageError that begins with `file` and the line's number.
EnvVariables parseVariables(std::string_view text, const std::string& file);

}  // namespace tool

#endif
