// SPDX-License-Identifier: Apache-2.0
// Who may see the page, and who may change something.
#ifndef FAPI_BENCH_SERVE_ACCESS_H
#define FAPI_BENCH_SERVE_ACCESS_H

#include <string>
#include <vector>

namespace tool {

enum class Visitor { none, guest, person };

// Where the page is reached.
struct PageAddress {
    std::string host;  // of this PC, which it listens on: "127.0.0.1", "[::1]"
    unsigned int port = 0;
    std::string behind;  // "https://NAME[:PORT]" of a proxy that has TLS; empty: there is none
};

// Tokens, the cookies that they become, and the names under which the page may be asked for.
class Access {
public:
    // The tokens are kept in a file of the user, so that a page stays open while the server is started again. Throws
    // std::runtime_error.
    Access(const PageAddress& address, bool hasGuests);

    // The address to begin with, which holds the token in its fragment: browsers send that to nobody.
    std::string start(Visitor visitor) const;
    // Names of another site that lead to this address are refused.
    bool isHost(const std::string& host) const;
    bool isOrigin(const std::string& origin) const;
    Visitor visitorOfToken(const std::string& token) const;
    // The header's value that makes a browser that visitor.
    std::string cookie(Visitor visitor) const;
    Visitor visitorOfCookies(const std::string& header) const;

private:
    std::string sessionOf(Visitor visitor) const;

    std::vector<std::string> _hosts, _origins;
    std::string _start, _name;
    bool _isSecure, _hasGuests;
    std::string _token, _guestToken;
};

}  // namespace tool

#endif
