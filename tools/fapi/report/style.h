// SPDX-License-Identifier: Apache-2.0
// How the page looks.
#ifndef FAPI_BENCH_REPORT_STYLE_H
#define FAPI_BENCH_REPORT_STYLE_H

namespace tool {

// Without '<', '>' and '&', which a style element would take as they stand and XML would not.
extern const char* const kHtmlStyle;

}  // namespace tool

#endif
