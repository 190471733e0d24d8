// SPDX-License-Identifier: Apache-2.0
// Runs and figures, as the page asks for them.
#include "serve/results_pages.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>

#include "base/durable_file.h"
#include "protocol/sha256.h"
#include "record/run_comparison.h"
#include "record/run_json.h"
#include "record/run_search.h"
#include "report/stats_page.h"

namespace tool {

namespace {

constexpr long long kPage = 100, kRecent = 20;

RunFilter filterOf(const WebRequest& request) {
    RunFilter filter;
    filter.unit = request.parameter("unit");
    filter.plan = request.parameter("plan");
    filter.verdict = request.parameter("verdict");
    filter.since = request.parameter("since");
    filter.until = request.parameter("until");
    filter.text = request.parameter("text");
    return filter;
}

Json runsJson(Database& database, const std::string& rest, const std::vector<Parameter>& parameters) {
    Json list = Json::array();
    for (const RunRecord& run : readRows<RunRecord>(database, rest, parameters)) {
        list.push_back(runJson(run));
    }
    return list;
}

// What a policy names a style by.
std::string hashSource(const std::string& style) {
    Sha256 sum;
    sum.add(style.data(), style.size());
    const std::string digits = sum.sum();
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return "'sha256-" + toBase64(bytes) + "'";
}

// A page that needs no other file, may do nothing, and has one style.
WebAnswer sealedPage(std::string text) {
    static constexpr char kBegin[] = "<style>", kEnd[] = "</style>";
    const std::size_t begin = text.find(kBegin), end = text.find(kEnd);
    std::string style = "'none'";
    if (begin != std::string::npos && end != std::string::npos) {
        const std::size_t first = begin + std::size(kBegin) - 1;
        style = hashSource(text.substr(first, end - first));
    }
    const std::string policy = "default-src 'none'; style-src " + style +
                               "; img-src data:; sandbox; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
    return {200, "text/html; charset=utf-8", std::move(text), {{"Content-Security-Policy", policy}}};
}

// A name of the store is no path: nothing outside of the folder, and no link out of it, is read.
std::string readInFolder(const std::string& folder, const std::string& name) {
    if (name.empty() || name[0] == '.' || name.find('/') != std::string::npos || name.find('\0') != std::string::npos) {
        throw UsageError("there is no such report");
    }
    try {
        return OpenFile(folder + "/" + name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK).read();
    } catch (const std::runtime_error&) {
        throw UsageError("the run has no report any more");
    }
}

}  // namespace

Json ResultsPages::recent() const {
    const std::unique_ptr<Database> database = openResults("", _folder);
    return database == nullptr
               ? Json::array()
               : runsJson(*database, "where verdict is not null order by number desc limit :a", {kRecent});
}

std::string ResultsPages::store() const {
    return resultsFileIn(_folder);
}

bool ResultsPages::hasStore() const {
    std::error_code error;
    return std::filesystem::exists(store(), error);
}

WebAnswer ResultsPages::runs(const WebRequest& request) const {
    const std::unique_ptr<Database> database = openResults("", _folder);
    if (database == nullptr) {
        return jsonAnswer(Json::array());
    }
    RunCondition condition = conditionOf(filterOf(request));
    long long before = 0;
    if (parseNumber(request.parameter("before"), before)) {
        condition.text += " and run.number < :before";
        condition.parameters.emplace_back(before);
    }
    return jsonAnswer(runsJson(*database,
                               "where " + condition.text + " order by run.number desc limit " + std::to_string(kPage),
                               condition.parameters));
}

static WholeRun namedIn(Database* database, const std::string& word) {
    if (database == nullptr) {
        throw UsageError("there are no runs yet");
    }
    return wholeRun(*database, findRun(*database, word));
}

WebAnswer ResultsPages::run(const WebRequest& request) const {
    const std::unique_ptr<Database> database = openResults("", _folder);
    return jsonAnswer(runJson(namedIn(database.get(), request.parameter("run"))));
}

WebAnswer ResultsPages::comparison(const WebRequest& request) const {
    const std::unique_ptr<Database> database = openResults("", _folder);
    const WholeRun before = namedIn(database.get(), request.parameter("before"));
    const WholeRun after = namedIn(database.get(), request.parameter("after"));
    Json changes = Json::array();
    for (const Change& change : changesBetween(before, after)) {
        changes.push_back(
            {{"step", change.step}, {"what", change.what}, {"before", change.before}, {"after", change.after}});
    }
    return jsonAnswer({{"before", runJson(before.run)}, {"after", runJson(after.run)}, {"changes", changes}});
}

WebAnswer ResultsPages::report(const WebRequest& request) const {
    const std::unique_ptr<Database> database = openResults("", _folder);
    return sealedPage(readInFolder(_folder, namedIn(database.get(), request.parameter("run")).run.report + ".html"));
}

WebAnswer ResultsPages::statistics(const WebRequest& request) const {
    const std::unique_ptr<Database> database = openResults("", _folder);
    if (database == nullptr) {
        throw UsageError("there are no runs yet");
    }
    const LineStatistics statistics = lineStatistics(*database, filterOf(request), request.parameter("measurement"));
    return {200, "text/html; charset=utf-8", statisticsElements(statistics), {}};
}

}  // namespace tool
