// SPDX-License-Identifier: Apache-2.0
// Runs and figures, as the page asks for them.
#ifndef FAPI_BENCH_SERVE_RESULTS_PAGES_H
#define FAPI_BENCH_SERVE_RESULTS_PAGES_H

#include "serve/page_json.h"

namespace tool {

// Answers from the store in a folder of reports.
class ResultsPages {
public:
    explicit ResultsPages(std::string folder) : _folder(std::move(folder)) {}

    // The newest runs.
    Json recent() const;
    // Where they are, and whether there is one.
    std::string store() const;
    bool hasStore() const;
    // Those that the request's filter allows, newest first; "before" is the number that they are less than.
    WebAnswer runs(const WebRequest& request) const;
    // One with its steps, by "run".
    WebAnswer run(const WebRequest& request) const;
    // What differs between "before" and "after".
    WebAnswer comparison(const WebRequest& request) const;
    // The page that was written when the run ended.
    WebAnswer report(const WebRequest& request) const;
    // Figures and charts, as elements of a page.
    WebAnswer statistics(const WebRequest& request) const;

private:
    const std::string _folder;
};

}  // namespace tool

#endif
