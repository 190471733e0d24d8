// SPDX-License-Identifier: Apache-2.0
// A results store as a database: SQLite's file or PostgreSQL's server, spoken to in the same words.
#include "record/database.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/text_pattern.h"
#include "protocol/characters.h"
#include "protocol/value.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// How long another program may have the file locked.
constexpr char kLockSeconds[] = "10";

// The word's value in "host=a dbname=b" or "...?host=a&sslmode=b"; empty: it is not there.
std::string wordOf(const std::string& address, const std::string& name) {
    const TextPattern pattern(("(?:.*[ ?&])?" + name + " *= *'?([^ &']*).*").c_str());
    const std::vector<std::string> parts = pattern.match(address);
    return parts.empty() ? "" : parts[1];
}

struct ServerUrl {
    bool isUrl = false;
    std::string user, password, host;
};

ServerUrl parseUrl(const std::string& address) {
    static const TextPattern kUrl(
        "postgres(?:ql)?://(?:([^@/:]*)(:[^@/]*)?@)?([^/?:]*|\\[[^\\]]*\\])(?::[0-9]*)?([/?].*)?");
    const std::vector<std::string> parts = kUrl.match(address);
    return parts.empty() ? ServerUrl{} : ServerUrl{true, parts[1], parts[2], parts[3]};
}

std::string hostOf(const std::string& address) {
    const std::string word = wordOf(address, "host");
    return word.empty() ? parseUrl(address).host : word;
}

// On this machine, or of a service file, which says for itself.
bool isLocal(const std::string& host) {
    return host.empty() || host[0] == '/' || host.rfind("%2F", 0) == 0 || host == "localhost" || host == "::1" ||
           host == "[::1]" || host.rfind("127.", 0) == 0;
}

std::string nameOf(const std::string& address) {
    const ServerUrl url = parseUrl(address);
    if (!url.isUrl || url.password.empty()) {
        return address;
    }
    const std::size_t at = address.find(url.password);
    return address.substr(0, at) + address.substr(at + url.password.size());
}

// Programs beside this one may write meanwhile, so they wait for each other. By its name a database's library is loaded
// where it is used, and takes no time of the other commands.
soci::connection_parameters connectionTo(const std::string& address, Access access) {
    if (isServerAddress(address)) {
        checkServerAddress(address);
        // What the address or a service file says comes first, and a socket of this machine needs none.
        setenv("PGSSLMODE", isLocal(hostOf(address)) ? "prefer" : "verify-full", 0);
        setenv("PGCONNECT_TIMEOUT", "10", 0);
        return {"postgresql", address};
    }
    std::error_code error;
    if (access == Access::read && !fs::exists(address, error)) {
        throw ResultsError(address + ": there are no results", "");
    }
    return {"sqlite3", "dbname=\"" + address + "\" timeout=" + kLockSeconds};
}

std::string noState(const soci::soci_error&) {
    return "";
}

std::string (*serverState)(const soci::soci_error&) = noState;

std::string oneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    return std::string(beginningOf(text, 400));
}

// What SQLite says in an error's text, and what that means to somebody who has the file.
struct Reason {
    const char* said;
    const char* before;  // the file's name
    const char* after;
};

constexpr Reason kReasons[] = {
    {"database or disk is full", "the disk is full: ", ""},
    {" is locked", "", ": is locked by another program"},
    {"malformed", "", ": is damaged, or holds no results; move it away to begin anew"},
    {"file is not a database", "", ": is damaged, or holds no results; move it away to begin anew"},
    {"unable to open database file", "", ": cannot be opened"},
    {"attempt to write a readonly database", "", ": cannot be written"},
    {"disk I/O error", "", ": cannot be read or written, the disk fails or is full"},
};

[[noreturn]] void refuse(const soci::soci_error& error, const std::string& name) {
    const std::string said = error.get_error_message();
    if (!isServerAddress(name)) {
        for (const Reason& reason : kReasons) {
            if (said.find(reason.said) != std::string::npos) {
                throw ResultsError(reason.before + name + reason.after, "");
            }
        }
    }
    // A server's message never holds the password, but the connection's words may.
    throw ResultsError(name + ": " + oneLine(said), serverState(error));
}

}  // namespace

void knowServerStates(std::string (*stateOf)(const soci::soci_error&)) {
    serverState = stateOf;
}

bool isServerAddress(const std::string& address) {
    static const TextPattern kWords("[a-z_]+ *=.*");
    return parseUrl(address).isUrl || address.rfind("postgres", 0) == 0 || kWords.match(address).size() == 1;
}

void checkServerAddress(const std::string& address) {
    const ServerUrl url = parseUrl(address);
    if (!url.password.empty() || !wordOf(address, "password").empty() || !wordOf(address, "sslpassword").empty()) {
        throw UsageError("a password has no place in an address; it belongs in ~/.pgpass or a service file");
    }
    if (!url.isUrl && address.find('=') == std::string::npos) {
        throw UsageError(display(address, 60) + ": expected postgresql://HOST/DATABASE or service=NAME");
    }
    const std::string mode = wordOf(address, "sslmode");
    if (!isLocal(hostOf(address)) && !mode.empty() && mode != "verify-full") {
        throw UsageError("sslmode=" + display(mode, 20) + " does not check who answers; it is verify-full for " +
                         display(hostOf(address), 60));
    }
}

Database::Database(const std::string& address, Access access) try
    : _isServer(isServerAddress(address)), _name(nameOf(address)), _session(connectionTo(address, access)) {
    if (!_isServer) {
        execute("pragma synchronous = full");
        execute("pragma foreign_keys = on");
    }
} catch (const soci::soci_error& error) {
    refuse(error, nameOf(address));
}

void Database::rethrow(const soci::soci_error& error) const {
    refuse(error, _name);
}

void Database::execute(const std::string& statement) {
    guarded([&] { _session << statement; });
}

// SQLite's writer takes its turn at once, rather than in the middle.
Transaction::Transaction(Database& database) : _database(database) {
    _database.execute(_database.isServer() ? "begin" : "begin immediate");
}

Transaction::~Transaction() {
    if (_isOpen) {
        try {
            _database.execute("rollback");
        } catch (const ResultsError&) {
            // It has been rolled back, or the connection is gone and the transaction with it.
        }
    }
}

void Transaction::commit() {
    _database.execute("commit");
    _isOpen = false;
}

Statement::Statement(Database& database, const std::string& text)
    : _database(database), _statement(database.session()) {
    _database.guarded([&] {
        _statement.alloc();
        _statement.prepare(text);
    });
}

Statement::Slot& Statement::addSlot() {
    return _slots.emplace_back();
}

void Statement::into(std::string& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::into(field, slot.state));
    _after.emplace_back([&] {
        if (slot.state == soci::i_null) {
            field.clear();
        }
    });
}

void Statement::into(long long& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::into(field, slot.state));
    _after.emplace_back([&] { field = slot.state == soci::i_null ? 0 : field; });
}

void Statement::into(double& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::into(field, slot.state));
    _after.emplace_back([&] { field = slot.state == soci::i_null ? 0 : field; });
}

void Statement::into(std::optional<std::string>& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::into(slot.text, slot.state));
    _after.emplace_back([&] { field = slot.state == soci::i_null ? std::nullopt : std::optional(slot.text); });
}

void Statement::into(std::optional<double>& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::into(slot.real, slot.state));
    _after.emplace_back([&] { field = slot.state == soci::i_null ? std::nullopt : std::optional(slot.real); });
}

void Statement::use(const std::string& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::use(slot.text, slot.state));
    _before.emplace_back([&] { slot.text = storedText(field); });
}

void Statement::use(const long long& field) {
    _statement.exchange(soci::use(field));
}

void Statement::use(const double& field) {
    _statement.exchange(soci::use(field));
}

void Statement::use(const std::optional<std::string>& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::use(slot.text, slot.state));
    _before.emplace_back([&] {
        slot.state = field ? soci::i_ok : soci::i_null;
        slot.text = storedText(field.value_or(""));
    });
}

void Statement::use(const std::optional<double>& field) {
    Slot& slot = addSlot();
    _statement.exchange(soci::use(slot.real, slot.state));
    _before.emplace_back([&] {
        slot.state = field ? soci::i_ok : soci::i_null;
        slot.real = field.value_or(0);
    });
}

void Statement::use(const Parameter& field) {
    std::visit([this](const auto& value) { use(value); }, _parameters.emplace_back(field));
}

void Statement::prepare() {
    if (!_isPrepared) {
        _statement.define_and_bind();
        _isPrepared = true;
    }
}

void Statement::run() {
    for (const auto& step : _before) {
        step();
    }
    _database.guarded([&] {
        prepare();
        _hasRow = _statement.execute(true);
        _isFirst = true;
    });
}

bool Statement::next() {
    if (!_hasRow) {
        return false;
    }
    _database.guarded([&] {
        if (!_isFirst) {
            _hasRow = _statement.fetch();
        }
    });
    _isFirst = false;
    if (_hasRow) {
        for (const auto& step : _after) {
            step();
        }
    }
    return _hasRow;
}

void runOnce(Database& database, const std::string& text, const std::vector<Parameter>& parameters) {
    Statement statement(database, text);
    for (const Parameter& parameter : parameters) {
        statement.use(parameter);
    }
    statement.run();
}

std::optional<long long> findNumber(Database& database, const std::string& text,
                                    const std::vector<Parameter>& parameters) {
    Statement statement(database, text);
    for (const Parameter& parameter : parameters) {
        statement.use(parameter);
    }
    long long number = 0;
    statement.into(number);
    statement.run();
    return statement.next() ? std::optional(number) : std::nullopt;
}

std::string storedText(const std::string& text) {
    std::string valid = isUtf8(text) ? text : validText(text);
    for (std::size_t at = valid.find('\0'); at != std::string::npos; at = valid.find('\0', at)) {
        valid.replace(at, 1, "\\x00");
    }
    return valid;
}

std::string insertText(const std::string& table, const std::vector<std::string>& columns, std::size_t rows) {
    std::string text = "insert into " + table + " (" + joined(columns, ", ") + ") values ";
    for (std::size_t row = 0; row < rows; ++row) {
        // The same name would be the same parameter.
        const std::string prefix = ":r" + std::to_string(row) + "_";
        text += (row == 0 ? "(" : ", (") + joined(columns, ", ", prefix.c_str()) + ")";
    }
    return text + " on conflict do nothing";
}

std::string joined(const std::vector<std::string>& words, const char* between, const char* before) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + std::string(before) + word;
    }
    return text;
}

}  // namespace tool
