// SPDX-License-Identifier: Apache-2.0
// `fapi serve`: a station and its sets in a browser.
#include "serve/serve.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

#include <poll.h>
#include <unistd.h>

#include "base/interrupts.h"
#include "record/result.h"
#include "report/style.h"
#include "serve/access.h"
#include "serve/page_files.h"
#include "serve/results_pages.h"
#include "serve/set_pages.h"

namespace tool {

namespace {

constexpr int kTick = 150;  // milliseconds: a page gets no more than one message in this time

constexpr std::chrono::seconds kBetweenLooks{2};  // at the store, besides those at the end of a run

constexpr char kPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

struct File {
    std::string type, text;
};

const std::map<std::string, File>& pageFiles() {
    static const std::map<std::string, File> files = {
        {"/", {"text/html; charset=utf-8", kPageHtml}},
        {"/style.css", {"text/css; charset=utf-8", kHtmlStyle + kPageStyle}},
        {"/script.js", {"text/javascript; charset=utf-8", kPageScript}}};
    return files;
}

WebAnswer sealed(WebAnswer answer) {
    const std::array<std::pair<const char*, const char*>, 6> headers = {
        {{"Content-Security-Policy", kPolicy},
         {"X-Content-Type-Options", "nosniff"},
         {"Referrer-Policy", "no-referrer"},
         {"Cross-Origin-Resource-Policy", "same-origin"},
         {"Cross-Origin-Opener-Policy", "same-origin"},
         {"Cache-Control", "no-store"}}};
    for (const auto& [name, value] : headers) {
        answer.headers.emplace(name, value);
    }
    return answer;
}

// What is asked for, and by whom.
class PageRoutes {
public:
    PageRoutes(const Access& access, Board& board, SetPages& sets, const ResultsPages& results)
        : _access(access), _board(board), _sets(sets), _results(results) {}

    WebServer::Routes routes() {
        WebServer::Routes routes;
        routes.refuse = [this](const WebRequest& request) {
            std::optional<WebAnswer> refusal = refuse(request);
            return refusal ? std::optional(sealed(std::move(*refusal))) : std::nullopt;
        };
        routes.stream = [this](const WebRequest& request) {
            const bool isStream = request.path == "/api/changes" && request.method == "GET";
            return isStream ? _board.stream(request.parameter("since"), request.parameter("set"), isPerson(request))
                            : nullptr;
        };
        routes.answer = [this](const WebRequest& request) { return sealed(answer(request)); };
        return routes;
    }

private:
    // Before anything of the request but its head is read.
    std::optional<WebAnswer> refuse(const WebRequest& request) const {
        const std::string origin = request.header("origin");
        const bool isPost = request.method == "POST", isLogin = request.path == "/login";
        if (!_access.isHost(request.header("host"))) {
            return errorAnswer(421, "this is another host");
        }
        if (isPost ? !_access.isOrigin(origin) : !origin.empty() && !_access.isOrigin(origin)) {
            return errorAnswer(403, "the request comes from another page");
        }
        if (!isPost && request.method != "GET" && request.method != "HEAD") {
            return errorAnswer(405, "there is GET and POST");
        }
        const Visitor visitor = _access.visitorOfCookies(request.header("cookie"));
        const bool isOpen = isPost ? isLogin : pageFiles().count(request.path) != 0;
        if (!isOpen && visitor == Visitor::none) {
            return errorAnswer(401, "begin with the address that fapi serve has printed");
        }
        if (isPost && !isLogin && visitor != Visitor::person) {
            return errorAnswer(403, "guests only look");
        }
        if (isPost && request.header("content-type").rfind("application/json", 0) != 0) {
            return errorAnswer(415, "expected JSON");
        }
        return std::nullopt;
    }

    bool isPerson(const WebRequest& request) const {
        return _access.visitorOfCookies(request.header("cookie")) == Visitor::person;
    }

    WebAnswer answer(const WebRequest& request) const {
        try {
            return request.method == "POST" ? change(request) : look(request);
        } catch (const UsageError& error) {
            return errorAnswer(400, error.what());
        } catch (const MessageError& error) {
            return errorAnswer(400, error.what());
        } catch (const RequestError& error) {
            return errorAnswer(error.code() == ErrorCode::claimed ? 409 : 502, error.what());
        } catch (const std::exception& error) {
            return errorAnswer(500, error.what());
        }
    }

    WebAnswer look(const WebRequest& request) const {
        static const std::map<std::string, WebAnswer (ResultsPages::*)(const WebRequest&) const> results = {
            {"/api/runs", &ResultsPages::runs},
            {"/api/run", &ResultsPages::run},
            {"/api/comparison", &ResultsPages::comparison},
            {"/api/report", &ResultsPages::report},
            {"/api/statistics", &ResultsPages::statistics}};
        if (const auto file = pageFiles().find(request.path); file != pageFiles().end()) {
            return {200, file->second.type, file->second.text, {}};
        }
        if (const auto page = results.find(request.path); page != results.end()) {
            return (_results.*page->second)(request);
        }
        if (request.path == "/api/role") {
            return jsonAnswer({{"role", isPerson(request) ? "person" : "guest"}});
        }
        const SetPages::Page page = SetPages::looking(request.path);
        return page != nullptr ? (_sets.*page)(request) : errorAnswer(404, "there is no such page");
    }

    WebAnswer change(const WebRequest& request) const {
        if (request.path == "/login") {
            const Visitor visitor = _access.visitorOfToken(parseJsonText(request.body).at("token").text());
            if (visitor == Visitor::none) {
                return errorAnswer(401, "this is no token of this server");
            }
            WebAnswer welcome = jsonAnswer({{"role", visitor == Visitor::person ? "person" : "guest"}});
            welcome.headers["Set-Cookie"] = _access.cookie(visitor);
            return welcome;
        }
        const SetPages::Page page = SetPages::changing(request.path);
        return page != nullptr ? (_sets.*page)(request) : errorAnswer(404, "there is no such page");
    }

    const Access& _access;
    Board& _board;
    SetPages& _sets;
    const ResultsPages& _results;
};

// Keeps the newest runs on the board. A store that is away, or locked for a while, is no reason to end or to wait.
class RecentRuns {
public:
    RecentRuns(Board& board, const ResultsPages& results)
        : _board(board), _results(results), _thread([this] { work(); }) {}
    ~RecentRuns() {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _isEnding = true;
        }
        _changed.notify_one();
        _thread.join();
    }
    RecentRuns(const RecentRuns&) = delete;
    RecentRuns& operator=(const RecentRuns&) = delete;

    // A run has ended.
    void look() {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _isDue = true;
        }
        _changed.notify_one();
    }

private:
    void work() {
        std::unique_lock<std::mutex> lock(_mutex);
        while (!_isEnding) {
            _isDue = false;
            lock.unlock();
            show();
            lock.lock();
            _changed.wait_for(lock, kBetweenLooks, [this] { return _isEnding || _isDue; });
        }
    }
    void show() {
        try {
            const bool isGone = _hadStore && !_results.hasStore();
            _board.set("recent", _results.recent());
            _board.set("store",
                       isGone ? Json{{"text", _results.store() + ": is gone; the next run begins a new one"}} : Json());
            _hadStore = isGone || _results.hasStore();
        } catch (const std::exception& error) {
            _board.set("store", {{"text", error.what()}});
        }
    }

    Board& _board;
    const ResultsPages& _results;
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _isDue = false, _isEnding = false;
    bool _hadStore = false;  // a new station has none
    std::thread _thread;
};

// Beyond this PC the page goes only through TLS.
void checkAddress(const std::string& listen, const std::string& host, const std::string& behind) {
    if (!behind.empty() && (behind.rfind("https://", 0) != 0 || behind.find('/', 8) != std::string::npos)) {
        throw UsageError("--behind is " + display(behind, 60) + ", expected https://NAME or https://NAME:PORT");
    }
    if (behind.empty() && host.rfind("127.", 0) != 0 && host != "[::1]") {
        throw UsageError("--listen " + display(listen, 60) +
                         " reaches beyond this PC: that takes a proxy with TLS, and --behind with its address");
    }
}

}  // namespace

int serve(const ServeOptions& options) {
    // Before there are threads.
    Interrupts interrupts;
    const std::string listen = options.listen.empty() ? kServeAddress : options.listen;
    PageAddress address;
    Descriptor listener = WebServer::listenOn(listen, address.host, address.port);
    address.behind = options.behind;
    checkAddress(listen, address.host, address.behind);
    const Access access(address, options.hasGuests);
    const std::string folder = options.report.empty() ? kReportFolder : options.report;
    const ResultsPages results(folder);
    Board board;
    RecentRuns recent(board, results);
    board.set("station", {{"name", options.station.name}, {"version", FAPI_VERSION}});
    SetPages sets(board, options.sets, options.station, {"--report", folder}, [&recent] { recent.look(); });
    PageRoutes routes(access, board, sets, results);
    WebServer server(std::move(listener), routes.routes());
    printLine(access.start(Visitor::person));
    if (options.hasGuests) {
        printLine("guests: " + access.start(Visitor::guest));
    }
    std::fflush(dataOutput());
    pollfd entry = {interrupts.descriptor(), POLLIN, 0};
    while (poll(&entry, 1, kTick) == 0) {
        server.tick();
        sets.tick();
    }
    return kExitGood;
}

}  // namespace tool
