// SPDX-License-Identifier: Apache-2.0
// An HTTP server for few routes.
#include "serve/web_server.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <microhttpd.h>
#include <netdb.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include "protocol/value.h"

namespace tool {

namespace {

constexpr std::size_t kMostBody = 256 << 10;
constexpr std::size_t kMostAsked = 64;  // requests that wait for a thread
constexpr std::size_t kMostStreams = 256;
constexpr std::size_t kThreads = 8;
constexpr std::size_t kMostWaiting = 256;  // connections without a request; of more the oldest is ended
constexpr unsigned int kMostConnections = 2048;
constexpr unsigned int kSilentSeconds = 30;
constexpr long long kRequestMilliseconds = 10000;  // for a whole request, however its bytes trickle
constexpr long long kPingMilliseconds = 10000;
constexpr std::size_t kStreamBlock = 32 << 10;

long long nowMilliseconds() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

MHD_Result addPair(void* into, MHD_ValueKind kind, const char* name, const char* value) {
    std::string key = name;
    if (kind == MHD_HEADER_KIND) {
        std::transform(key.begin(), key.end(), key.begin(),
                       [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    }
    auto& pairs = *static_cast<std::map<std::string, std::string>*>(into);
    // Of two headers with one name none is to be believed.
    const std::string text = value != nullptr ? value : "";
    pairs[key] = pairs.count(key) != 0 && kind == MHD_HEADER_KIND ? pairs[key] + ", " + text : text;
    return MHD_YES;
}

MHD_Result give(MHD_Connection* connection, const WebAnswer& answer) {
    MHD_Response* response = MHD_create_response_from_buffer(answer.body.size(), const_cast<char*>(answer.body.data()),
                                                             MHD_RESPMEM_MUST_COPY);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, answer.type.c_str());
    for (const auto& [name, value] : answer.headers) {
        MHD_add_response_header(response, name.c_str(), value.c_str());
    }
    const MHD_Result result = MHD_queue_response(connection, answer.status, response);
    MHD_destroy_response(response);
    return result;
}

WebAnswer plainAnswer(unsigned int status, const char* text) {
    return {status, "text/plain; charset=utf-8", std::string(text) + "\n", {}};
}

int socketOf(MHD_Connection* connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

void allowDescriptors() {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, rlim_t{2} * kMostConnections));
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

// One request, from its head to its answer.
struct WebServer::Exchange {
    MHD_Connection* connection;
    WebRequest request;
    bool isAsked = false;
    WebAnswer answer = {};
};

struct WebServer::Listening {
    WebServer& server;
    MHD_Connection* connection;
    std::unique_ptr<WebStream> stream;
    std::string pending = {};
    bool isDue = true;  // since the last tick it has been given nothing
    bool isAsleep = false, isGone = false;
    long long told = nowMilliseconds();
};

// What the library calls.
struct WebServer::Callbacks {
    static MHD_Result handle(void* self, MHD_Connection* connection, const char* path, const char* method, const char*,
                             const char* data, std::size_t* size, void** state) {
        auto& server = *static_cast<WebServer*>(self);
        if (*state == nullptr) {
            return begin(server, connection, path, method, state);
        }
        auto& exchange = *static_cast<Exchange*>(*state);
        if (*size != 0) {
            if (exchange.request.body.size() + *size > kMostBody) {
                return MHD_NO;
            }
            exchange.request.body.append(data, *size);
            *size = 0;
            return MHD_YES;
        }
        return exchange.isAsked ? give(connection, exchange.answer) : ask(server, exchange);
    }

    // The head of a request has come.
    static MHD_Result begin(WebServer& server, MHD_Connection* connection, const char* path, const char* method,
                            void** state) {
        WebRequest request = {method, path, {}, {}, {}};
        MHD_get_connection_values(connection, MHD_HEADER_KIND, addPair, &request.headers);
        MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, addPair, &request.query);
        std::optional<WebAnswer> refusal = server._routes.refuse(request);
        const std::string length = request.header("content-length");
        if (!refusal && (!request.header("transfer-encoding").empty() || length.size() > 9 ||
                         (!length.empty() && std::strtoul(length.c_str(), nullptr, 10) > kMostBody))) {
            refusal = plainAnswer(MHD_HTTP_CONTENT_TOO_LARGE, "the request is too large");
        }
        if (refusal) {
            refusal->headers["Connection"] = "close";
            return give(connection, *refusal);
        }
        *state = new Exchange{connection, std::move(request)};
        return MHD_YES;
    }

    // All of a request has come.
    static MHD_Result ask(WebServer& server, Exchange& exchange) {
        server.stopWaiting(socketOf(exchange.connection));
        if (std::unique_ptr<WebStream> stream = server._routes.stream(exchange.request)) {
            return listen(server, exchange, std::move(stream));
        }
        const std::lock_guard<std::mutex> lock(server._mutex);
        if (server._asked.size() >= kMostAsked || server._isEnding) {
            return give(exchange.connection, plainAnswer(MHD_HTTP_SERVICE_UNAVAILABLE, "the server is busy"));
        }
        exchange.isAsked = true;
        MHD_suspend_connection(exchange.connection);
        server._asked.push_back(&exchange);
        server._changed.notify_one();
        return MHD_YES;
    }

    static MHD_Result listen(WebServer& server, const Exchange& exchange, std::unique_ptr<WebStream> stream) {
        auto listening = std::make_unique<Listening>(Listening{server, exchange.connection, std::move(stream)});
        {
            const std::lock_guard<std::mutex> lock(server._mutex);
            if (server._listening.size() >= kMostStreams) {
                return give(exchange.connection, plainAnswer(MHD_HTTP_SERVICE_UNAVAILABLE, "too many listen"));
            }
            server._listening.insert(listening.get());
        }
        MHD_Response* response =
            MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kStreamBlock, read, listening.release(), forget);
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "text/event-stream");
        MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
        const MHD_Result result = MHD_queue_response(exchange.connection, MHD_HTTP_OK, response);
        MHD_destroy_response(response);
        return result;
    }

    // Called when the last piece has gone: a browser that is slow gets what is new then, and not all that was.
    static ssize_t read(void* self, std::uint64_t, char* buffer, std::size_t size) {
        auto& listening = *static_cast<Listening*>(self);
        const std::lock_guard<std::mutex> lock(listening.server._mutex);
        if (listening.server._isEnding || listening.isGone) {
            return MHD_CONTENT_READER_END_OF_STREAM;
        }
        if (listening.pending.empty() && std::exchange(listening.isDue, false)) {
            listening.pending = listening.stream->next();
        }
        const long long now = nowMilliseconds();
        if (listening.pending.empty() && now - listening.told >= kPingMilliseconds) {
            listening.pending = ": nothing new\n\n";
        }
        if (listening.pending.empty()) {
            listening.isAsleep = true;
            MHD_suspend_connection(listening.connection);
            return 0;
        }
        listening.told = now;
        const std::size_t length = listening.pending.copy(buffer, size);
        listening.pending.erase(0, length);
        return static_cast<ssize_t>(length);
    }

    static void forget(void* self) {
        const std::unique_ptr<Listening> listening(static_cast<Listening*>(self));
        const std::lock_guard<std::mutex> lock(listening->server._mutex);
        listening->server._listening.erase(listening.get());
    }

    static void complete(void* self, MHD_Connection* connection, void** state, MHD_RequestTerminationCode) {
        delete static_cast<Exchange*>(*state);
        *state = nullptr;
        static_cast<WebServer*>(self)->expectRequest(socketOf(connection));
    }

    static void connect(void* self, MHD_Connection* connection, void**, MHD_ConnectionNotificationCode what) {
        auto& server = *static_cast<WebServer*>(self);
        if (what == MHD_CONNECTION_NOTIFY_STARTED) {
            server.expectRequest(socketOf(connection));
        } else {
            server.stopWaiting(socketOf(connection));
        }
    }
};

WebServer::WebServer(Descriptor listener, Routes routes) : _routes(std::move(routes)), _listener(std::move(listener)) {
    allowDescriptors();
    const unsigned int flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
    _daemon =
        MHD_start_daemon(flags, 0, nullptr, nullptr, Callbacks::handle, this, MHD_OPTION_LISTEN_SOCKET,
                         fcntl(_listener.get(), F_DUPFD_CLOEXEC, 0), MHD_OPTION_NOTIFY_COMPLETED, Callbacks::complete,
                         this, MHD_OPTION_NOTIFY_CONNECTION, Callbacks::connect, this, MHD_OPTION_CONNECTION_LIMIT,
                         kMostConnections, MHD_OPTION_CONNECTION_TIMEOUT, kSilentSeconds, MHD_OPTION_END);
    if (_daemon == nullptr) {
        throw std::runtime_error("the web server cannot be started");
    }
    for (std::size_t i = 0; i < kThreads; ++i) {
        _threads.emplace_back([this] { work(); });
    }
}

WebServer::~WebServer() {
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isEnding = true;
        _changed.notify_all();
    }
    for (std::thread& thread : _threads) {
        thread.join();
    }
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        for (Exchange* exchange : _asked) {
            exchange->answer = plainAnswer(MHD_HTTP_SERVICE_UNAVAILABLE, "the server ends");
            MHD_resume_connection(exchange->connection);
        }
        for (Listening* listening : _listening) {
            if (std::exchange(listening->isAsleep, false)) {
                MHD_resume_connection(listening->connection);
            }
        }
    }
    MHD_stop_daemon(_daemon);
}

void WebServer::work() {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _changed.wait(lock, [this] { return _isEnding || !_asked.empty(); });
        if (_isEnding) {
            return;
        }
        Exchange& exchange = *_asked.front();
        _asked.pop_front();
        lock.unlock();
        try {
            exchange.answer = _routes.answer(exchange.request);
        } catch (const std::exception& error) {
            exchange.answer = plainAnswer(MHD_HTTP_INTERNAL_SERVER_ERROR, error.what());
        }
        lock.lock();
        MHD_resume_connection(exchange.connection);
    }
}

// From now on a request has to come on the connection.
void WebServer::expectRequest(int socket) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _waiting[socket] = nowMilliseconds();
    if (_waiting.size() > kMostWaiting) {
        cutOldest();
    }
}

void WebServer::stopWaiting(int socket) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _waiting.erase(socket);
}

// Whoever connects and is silent makes room for those who do not.
void WebServer::cutOldest() {
    const auto oldest = std::min_element(_waiting.begin(), _waiting.end(), [](const auto& left, const auto& right) {
        return left.second < right.second;
    });
    shutdown(oldest->first, SHUT_RDWR);
    _waiting.erase(oldest);
}

// A browser that is closed must not count as one that is open until the next message does not reach it.
void WebServer::findGone() {
    std::vector<pollfd> entries;
    for (const Listening* listening : _listening) {
        entries.push_back({listening->isAsleep ? socketOf(listening->connection) : -1, POLLRDHUP, 0});
    }
    auto entry = poll(entries.data(), entries.size(), 0) > 0 ? entries.begin() : entries.end();
    for (auto at = _listening.begin(); entry != entries.end(); ++at, ++entry) {
        (*at)->isGone = entry->revents != 0;
    }
}

void WebServer::tick() {
    const std::lock_guard<std::mutex> lock(_mutex);
    const long long now = nowMilliseconds();
    for (auto at = _waiting.begin(); at != _waiting.end();) {
        if (now - at->second < kRequestMilliseconds) {
            ++at;
        } else {
            shutdown(at->first, SHUT_RDWR);
            at = _waiting.erase(at);
        }
    }
    findGone();
    for (Listening* listening : _listening) {
        if (!listening->isAsleep) {
            listening->isDue = true;
            continue;
        }
        if (listening->pending.empty()) {
            listening->pending = listening->stream->next();
            listening->isDue = listening->pending.empty();
        }
        if (!listening->pending.empty() || listening->isGone || now - listening->told >= kPingMilliseconds) {
            listening->isAsleep = false;
            MHD_resume_connection(listening->connection);
        }
    }
}

std::size_t WebServer::streams() const {
    const std::lock_guard<std::mutex> lock(_mutex);
    return _listening.size();
}

Descriptor WebServer::listenOn(const std::string& address, std::string& host, unsigned int& port) {
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == address.size()) {
        throw UsageError("--listen is " + display(address, 60) + ", expected ADDRESS:PORT, such as 127.0.0.1:8470");
    }
    host = address.substr(0, colon);
    const bool hasBrackets = host.front() == '[' && host.back() == ']';
    addrinfo hints = {};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const std::string numeric = hasBrackets ? host.substr(1, host.size() - 2) : host;
    long long wanted = 0;
    // The resolver would take the last 16 bits of a larger number.
    const bool isPort = parseNumber(address.substr(colon + 1), wanted) && wanted >= 0 && wanted <= 0xFFFF;
    if (!isPort || getaddrinfo(numeric.c_str(), address.c_str() + colon + 1, &hints, &found) != 0) {
        throw UsageError("--listen is " + display(address, 60) +
                         ", expected an address in numbers and a port, such as 127.0.0.1:8470");
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
    Descriptor listener(socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (bind(listener.get(), found->ai_addr, found->ai_addrlen) != 0 || listen(listener.get(), SOMAXCONN) != 0) {
        throw UsageError("--listen " + display(address, 60) + ": " + std::strerror(errno));
    }
    sockaddr_storage bound = {};
    socklen_t size = sizeof(bound);
    getsockname(listener.get(), reinterpret_cast<sockaddr*>(&bound), &size);
    char service[16];
    getnameinfo(reinterpret_cast<const sockaddr*>(&bound), size, nullptr, 0, service, sizeof(service), NI_NUMERICSERV);
    port = static_cast<unsigned int>(std::strtoul(service, nullptr, 10));
    return listener;
}

}  // namespace tool
