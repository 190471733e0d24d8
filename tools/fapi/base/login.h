// SPDX-License-Identifier: Apache-2.0
#ifndef FAPI_BENCH_BASE_LOGIN_H
#define FAPI_BENCH_BASE_LOGIN_H

#include <string>

namespace tool {

// Who is logged in: the user's name, or number where there is no name.
std::string loginName();

}  // namespace tool

#endif
