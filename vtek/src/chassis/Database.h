#pragma once

#include "base/Result.h"

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vtek {

class Database;

/** One prepared statement: bind by position from 1, step through rows, read columns from 0. A value that
 * could not be bound fails the next step. */
class Statement {
public:
    Statement& bind(int position, std::string_view text);
    Statement& bind(int position, std::int64_t value);
    Statement& bindOptional(int position, const std::optional<std::string>& text);

    /** Goes to the next row. @return whether there is one */
    Result<bool> step();

    /** Runs a statement that yields no rows, and makes it ready for the next values. */
    Status run();

    std::string text(int column) const;
    std::string_view textView(int column) const;  ///< valid until the next step
    std::int64_t number(int column) const;
    bool isNull(int column) const;

private:
    friend class Database;
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    explicit Statement(sqlite3_stmt* statement) : statement_(statement) {}
    Statement& bound(int code);

    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
    std::optional<Error> refused_;  ///< why a value could not be bound
};

/** One connection to a SQLite database. */
class Database {
public:
    enum class Access { ReadOnly, ReadWrite, Create };

    /** Opens the file at an absolute path that leads through no link. */
    static Result<Database> open(const std::string& path, Access access);

    /** Runs statements that have no parameters and whose rows do not matter. */
    Status execute(const char* sql);

    Result<Statement> prepare(std::string_view sql);

    /** The key of the row that was inserted last. */
    std::int64_t lastRow() const { return sqlite3_last_insert_rowid(connection_.get()); }

    /** The single number that a query yields. */
    Result<std::int64_t> number(std::string_view sql);

private:
    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    explicit Database(sqlite3* connection) : connection_(connection) {}

    std::unique_ptr<sqlite3, Close> connection_;
};

/** Everything between begin and commit happens, or nothing: the destructor undoes what was not committed. */
class Transaction {
public:
    /** Starts a transaction that keeps other writers out from now on. */
    static Result<Transaction> begin(Database& database);

    Transaction(Transaction&& other) noexcept : database_(std::exchange(other.database_, nullptr)) {}
    Transaction& operator=(Transaction&&) = delete;
    ~Transaction();

    Status commit();

private:
    explicit Transaction(Database& database) : database_(&database) {}
    Database* database_;
};

}  // namespace vtek
