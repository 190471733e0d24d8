// SPDX-License-Identifier: Apache-2.0
// The boot environment as an image, as boot loaders keep it: 65,536 bytes, of which the first four are the
// little-endian CRC-32 of the rest; NAME=VALUE records, each ended by a NUL, and an empty record at the end.
#ifndef FAPI_BENCH_BASE_ENV_IMAGE_H
#define FAPI_BENCH_BASE_ENV_IMAGE_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

constexpr std::size_t kEnvImageSize = 65536;

// Name and value, in the order of the image, each name once.
using EnvVariables = std::vector<std::pair<std::string, std::string>>;

struct Environment {
    EnvVariables variables;
    // Why the image is not whole; empty when it is. The variables of one that is not are those that can still be read.
    std::vector<std::string> damage;
    // What a whole image holds beside its variables, and loses when it is made anew.
    std::vector<std::string> remarks;
};

// Never fails, whatever the bytes are. Erased flash (all bytes 0xFF) is an empty environment.
Environment parseEnvImage(std::string_view image);

// Throws UsageError when the variables do not fit into an image.
std::string makeEnvImage(const EnvVariables& variables);

// Throws UsageError for what cannot be a name (empty, with = or NUL) or a value (with NUL).
void checkVariable(const std::string& name, const std::string& value);

// The value of that name, or null.
const std::string* findVariable(const EnvVariables& variables, std::string_view name);

// Gives the variable that value; a new one goes to the end.
void setVariable(EnvVariables& variables, const std::string& name, const std::string& value);

// False when there is none of that name.
bool removeVariable(EnvVariables& variables, std::string_view name);

// A variable that differs; it has no value where it is missing.
struct EnvChange {
    std::string name;
    std::optional<std::string> before, after;
};

// In the order of `after`, and then what is missing there.
std::vector<EnvChange> changesBetween(const EnvVariables& before, const EnvVariables& after);

}  // namespace tool

#endif
