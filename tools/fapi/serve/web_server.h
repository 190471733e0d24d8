// SPDX-License-Identifier: Apache-2.0
// An HTTP server for few routes: requests, answers, streams of events, and limits for all of them.
#ifndef FAPI_BENCH_SERVE_WEB_SERVER_H
#define FAPI_BENCH_SERVE_WEB_SERVER_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "hub/descriptor.h"

struct MHD_Daemon;
struct MHD_Connection;

namespace tool {

struct WebRequest {
    std::string method, path;
    std::map<std::string, std::string> query;
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;

    std::string header(const std::string& name) const {
        const auto found = headers.find(name);
        return found == headers.end() ? "" : found->second;
    }
    std::string parameter(const std::string& name) const {
        const auto found = query.find(name);
        return found == query.end() ? "" : found->second;
    }
};

struct WebAnswer {
    unsigned int status = 200;
    std::string type = "application/json";
    std::string body = {};
    std::map<std::string, std::string> headers = {};
};

// What a browser gets for as long as it listens.
class WebStream {
public:
    virtual ~WebStream() = default;
    // The next piece of text; empty while there is none. Never waits.
    virtual std::string next() = 0;
};

class WebServer {
public:
    struct Routes {
        // Looks at a request whose body has not come: what it answers is all that the client gets.
        std::function<std::optional<WebAnswer>(const WebRequest&)> refuse;
        // The stream that the request wants; null when it wants none.
        std::function<std::unique_ptr<WebStream>(const WebRequest&)> stream;
        // All others. Called in threads, and may take its time.
        std::function<WebAnswer(const WebRequest&)> answer;
    };
    // Listens on a socket that is bound. Throws std::runtime_error.
    WebServer(Descriptor listener, Routes routes);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    // To be called every kTick: streams look for something new, and connections without a request are ended.
    void tick();
    std::size_t streams() const;

    // A socket for an address: "127.0.0.1:8470", "[::1]:0"; the port that it got is put into `port`, the address
    // without it into `host`. Throws UsageError.
    static Descriptor listenOn(const std::string& address, std::string& host, unsigned int& port);

    struct Exchange;

private:
    struct Listening;
    struct Callbacks;
    void work();
    void expectRequest(int socket);
    void stopWaiting(int socket);
    void cutOldest();
    void findGone();

    const Routes _routes;
    Descriptor _listener;
    MHD_Daemon* _daemon = nullptr;
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<Exchange*> _asked;
    std::map<int, long long> _waiting;  // sockets without a whole request, and since when
    std::set<Listening*> _listening;
    bool _isEnding = false;
    std::vector<std::thread> _threads;
};

}  // namespace tool

#endif
