// SPDX-License-Identifier: Apache-2.0
// A results store as a database: SQLite's file or PostgreSQL's server, spoken to in the same words.
#ifndef FAPI_BENCH_RECORD_DATABASE_H
#define FAPI_BENCH_RECORD_DATABASE_H

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <soci/soci.h>

#include "protocol/message.h"

namespace tool {

// The store cannot be used; the text is one line that names it and says why, without a password.
class ResultsError : public SetError {
public:
    ResultsError(const std::string& text, std::string state) : SetError(text), _state(std::move(state)) {}
    // The server's code for the reason; empty: there is none.
    const std::string& state() const { return _state; }

private:
    std::string _state;
};

// Reads the server's code from an error: for a program that is linked with the server's library. Others know none.
void knowServerStates(std::string (*stateOf)(const soci::soci_error&));

enum class Access { read, write };

class Database {
public:
    // `address` is a file, or a server as isServerAddress() knows it. A file that is to be written is made.
    // Throws ResultsError, and UsageError for an address that must not be used.
    Database(const std::string& address, Access access);

    bool isServer() const { return _isServer; }
    // Without what an address may hold of secrets.
    const std::string& name() const { return _name; }
    void execute(const std::string& statement);
    soci::session& session() { return _session; }
    // Carries out what uses the session; what that throws becomes a ResultsError.
    template <class Part>
    auto guarded(Part&& part) -> decltype(part()) {
        try {
            return part();
        } catch (const soci::soci_error& error) {
            rethrow(error);
        }
    }

private:
    [[noreturn]] void rethrow(const soci::soci_error& error) const;

    const bool _isServer = false;
    const std::string _name;
    soci::session _session;
};

// "postgresql://HOST/DATABASE", "postgres://...", "service=NAME" or other "KEY=VALUE" words of PostgreSQL.
bool isServerAddress(const std::string& address);
// Throws UsageError for a password, which belongs in ~/.pgpass, and for a connection to another machine that is not
// checked.
void checkServerAddress(const std::string& address);

// Undone when it is left without commit().
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

private:
    Database& _database;
    bool _isOpen = true;
};

using Parameter = std::variant<std::string, long long, double>;

// A statement that is prepared once. Its parameters are ":a", ":b" in their order.
class Statement {
public:
    Statement(Database& database, const std::string& text);
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Before the first start: a column to read, or a parameter. References stay valid as long as this.
    void into(std::string& field);
    void into(long long& field);
    void into(double& field);
    void into(std::optional<std::string>& field);
    void into(std::optional<double>& field);
    void use(const std::string& field);
    void use(const long long& field);
    void use(const double& field);
    void use(const std::optional<std::string>& field);
    void use(const std::optional<double>& field);
    void use(const Parameter& field);

    // Runs it with what the parameters hold now.
    void run();
    // The next row of what run() has found; false after the last one.
    bool next();

private:
    struct Slot {
        std::string text;
        long long number = 0;
        double real = 0;
        soci::indicator state = soci::i_ok;
    };
    Slot& addSlot();
    void prepare();

    Database& _database;
    soci::statement _statement;
    std::deque<Slot> _slots;
    std::deque<Parameter> _parameters;
    std::vector<std::function<void()>> _before, _after;  // a start, a row
    bool _isPrepared = false;
    bool _hasRow = false;   // of what run() has found
    bool _isFirst = false;  // the row that comes with the start was not handed out yet
};

// Runs a statement once.
void runOnce(Database& database, const std::string& text, const std::vector<Parameter>& parameters);
// The one number that a statement finds; nothing when it finds none.
std::optional<long long> findNumber(Database& database, const std::string& text,
                                    const std::vector<Parameter>& parameters = {});

// A text as every database takes it: UTF-8 without a byte 0.
std::string storedText(const std::string& text);

// --- Rows that list their columns ------------------------------------------------------------------------------------

template <class Row>
std::vector<std::string> columnsOfRow() {
    std::vector<std::string> names;
    Row row;
    auto column = [&](const char* name, const auto&) { names.emplace_back(name); };
    Row::visit(column, row);
    return names;
}

std::string joined(const std::vector<std::string>& words, const char* between, const char* before = "");

// The words of an insert of so many rows.
std::string insertText(const std::string& table, const std::vector<std::string>& columns, std::size_t rows);

// Adds rows, several with each statement: a server takes longer to answer than to store. A row that is there already
// stays as it is.
template <class Row>
class Inserter {
public:
    explicit Inserter(Database& database)
        : _many(database, insertText(Row::kTable, columnsOfRow<Row>(), kTogether)),
          _one(database, insertText(Row::kTable, columnsOfRow<Row>(), 1)) {
        for (const Row& row : _rows) {
            auto column = [this](const char*, const auto& field) { _many.use(field); };
            Row::visit(column, row);
        }
        auto column = [this](const char*, const auto& field) { _one.use(field); };
        Row::visit(column, _rows.front());
    }
    void insert(const Row& row) {
        _rows.front() = row;
        _one.run();
    }
    void insert(const std::vector<Row>& rows) {
        std::size_t next = 0;
        for (; next + kTogether <= rows.size(); next += kTogether) {
            std::copy_n(rows.begin() + static_cast<std::ptrdiff_t>(next), kTogether, _rows.begin());
            _many.run();
        }
        for (; next < rows.size(); ++next) {
            insert(rows[next]);
        }
    }

private:
    static constexpr std::size_t kTogether = 20;

    std::array<Row, kTogether> _rows;
    Statement _many, _one;
};

// Reads rows; `rest` is what follows the table's name, with its parameters.
template <class Row>
class Reader {
public:
    Reader(Database& database, const std::string& rest, const std::vector<Parameter>& parameters)
        : _statement(database, "select " + joined(columnsOfRow<Row>(), ", ", (Row::kTable + std::string(".")).c_str()) +
                                   " from " + Row::kTable + " " + rest) {
        for (const Parameter& parameter : parameters) {
            _statement.use(parameter);
        }
        auto column = [this](const char*, auto& field) { _statement.into(field); };
        Row::visit(column, _row);
        _statement.run();
    }
    // Null after the last one.
    const Row* next() { return _statement.next() ? &_row : nullptr; }

private:
    Row _row;
    Statement _statement;
};

template <class Row>
std::vector<Row> readRows(Database& database, const std::string& rest, const std::vector<Parameter>& parameters) {
    std::vector<Row> rows;
    Reader<Row> reader(database, rest, parameters);
    while (const Row* row = reader.next()) {
        rows.push_back(*row);
    }
    return rows;
}

}  // namespace tool

#endif
