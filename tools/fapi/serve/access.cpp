// SPDX-License-Identifier: Apache-2.0
// Tokens and cookies of the page.
#include "serve/access.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

#include "protocol/sha256.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kTokenSize = 40;  // hexadecimal digits

std::string newToken() {
    std::random_device random;
    std::string token;
    while (token.size() < kTokenSize) {
        token += "0123456789abcdef"[random() % 16];
    }
    return token;
}

// Takes as long wherever the first difference is.
bool isSame(const std::string& left, const std::string& right) {
    unsigned int difference = left.size() == right.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i) {
        difference |= static_cast<unsigned int>(left[i] ^ right[i]);
    }
    return difference == 0;
}

fs::path tokenFile(unsigned int port) {
    const char* states = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    const fs::path folder = states != nullptr && *states != '\0'
                                ? fs::path(states)
                                : fs::path(home != nullptr ? home : ".") / ".local/state";
    return folder / "fapi" / ("page-" + std::to_string(port) + ".token");
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

}  // namespace

Access::Access(const PageAddress& address, bool hasGuests) : _isSecure(!address.behind.empty()), _hasGuests(hasGuests) {
    const std::string port = ":" + std::to_string(address.port);
    std::vector<std::string> names = {address.host};
    if (address.host == "127.0.0.1" || address.host == "[::1]") {
        names = {address.host, "localhost"};
    }
    for (const std::string& name : names) {
        _hosts.push_back(lower(name) + port);
        _origins.push_back("http://" + lower(name) + port);
    }
    _start = _origins[0];
    if (_isSecure) {
        _start = lower(address.behind);
        _hosts.push_back(_start.substr(_start.find("//") + 2));
        // What crosses the network comes through the proxy alone.
        _origins = {_start};
    }
    // Cookies know no ports.
    _name = "fapi-page-" + std::to_string(address.port);
    const fs::path file = tokenFile(address.port);
    std::ifstream kept(file);
    if (!(kept >> _token >> _guestToken) || _token.size() != kTokenSize || _guestToken.size() != kTokenSize) {
        _token = newToken();
        _guestToken = newToken();
        fs::create_directories(file.parent_path());
        const mode_t mask = umask(077);
        fs::remove(file);
        const bool isWritten = static_cast<bool>(std::ofstream(file) << _token << '\n' << _guestToken << '\n');
        umask(mask);
        if (!isWritten) {
            throw std::runtime_error(file.string() + ": cannot be written");
        }
    }
}

std::string Access::start(Visitor visitor) const {
    return _start + "/#" + (visitor == Visitor::person ? _token : _guestToken);
}

bool Access::isHost(const std::string& host) const {
    return std::count(_hosts.begin(), _hosts.end(), lower(host)) != 0;
}

bool Access::isOrigin(const std::string& origin) const {
    return std::count(_origins.begin(), _origins.end(), lower(origin)) != 0;
}

Visitor Access::visitorOfToken(const std::string& token) const {
    const bool isPerson = isSame(token, _token), isGuest = isSame(token, _guestToken);
    return isPerson ? Visitor::person : isGuest && _hasGuests ? Visitor::guest : Visitor::none;
}

// The token cannot be found out from it.
std::string Access::sessionOf(Visitor visitor) const {
    Sha256 sum;
    const std::string text = "session " + (visitor == Visitor::person ? _token : _guestToken);
    sum.add(text.data(), text.size());
    return sum.sum();
}

std::string Access::cookie(Visitor visitor) const {
    return _name + "=" + sessionOf(visitor) + "; Path=/; HttpOnly; SameSite=Strict" + (_isSecure ? "; Secure" : "");
}

Visitor Access::visitorOfCookies(const std::string& header) const {
    for (std::size_t at = 0; at < header.size();) {
        const std::size_t end = std::min(header.find(';', at), header.size());
        const std::string cookie = header.substr(at, end - at);
        const std::size_t begin = cookie.find_first_not_of(' ');
        if (begin != std::string::npos && cookie.compare(begin, _name.size() + 1, _name + "=") == 0) {
            const std::string session = cookie.substr(begin + _name.size() + 1);
            const bool isPerson = isSame(session, sessionOf(Visitor::person));
            const bool isGuest = isSame(session, sessionOf(Visitor::guest));
            return isPerson ? Visitor::person : isGuest && _hasGuests ? Visitor::guest : Visitor::none;
        }
        at = end + 1;
    }
    return Visitor::none;
}

}  // namespace tool
