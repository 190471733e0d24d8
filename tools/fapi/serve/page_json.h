// SPDX-License-Identifier: Apache-2.0
// What the page's script reads.
#ifndef FAPI_BENCH_SERVE_PAGE_JSON_H
#define FAPI_BENCH_SERVE_PAGE_JSON_H

#include "serve/web_server.h"
#include "target/output.h"

namespace tool {

// Texts of a set as texts, bytes in hexadecimal.
Json jsonOf(const Field& field);

WebAnswer jsonAnswer(const Json& json);
// {"error": TEXT}
WebAnswer errorAnswer(unsigned int status, const std::string& text);

}  // namespace tool

#endif
