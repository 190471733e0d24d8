// SPDX-License-Identifier: Apache-2.0
// A client of a set's hub, beside the bench tool that a test runs.
#ifndef TESTS_SUPPORT_HUB_CLIENT_H
#define TESTS_SUPPORT_HUB_CLIENT_H

#include <filesystem>
#include <memory>
#include <string>

#include "target/target.h"

namespace test {

inline std::unique_ptr<tool::Target> joinHub(const std::string& strSet) {
    tool::TargetOptions options;
    options.folder = strSet;
    options.client = "a test";
    options.hub = FAPI_BINARY;
    options.agent = std::filesystem::path(FAPI_BINARY).replace_filename("fapi-agent").string();
    return tool::Target::join(options);
}

}  // namespace test

#endif
