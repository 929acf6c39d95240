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

/**
 * One prepared statement: bind values by position from 1, step through the rows, read columns from 0. If a
 * value cannot be bound, the next step fails.
 */
class Statement {
public:
    Statement& bind(int position, std::string_view text);
    Statement& bind(int position, std::int64_t value);
    Statement& bindOptional(int position, const std::optional<std::string>& text);

    /** Moves to the next row. @return whether there is one */
    Result<bool> step();

    /** Steps through all rows and calls visit for each; the columns are read from this statement. */
    template <class Visit>
    Status forEachRow(Visit visit) {
        for (;;) {
            VTEK_ASSIGN(const bool found, step());
            if (!found) {
                return {};
            }
            visit();
        }
    }

    /** Runs a statement that returns no rows and resets it, so that new values can be bound. */
    Status run();

    std::string text(int column) const;
    std::string_view textView(int column) const;  ///< valid until the next step; empty for NULL
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
    std::optional<Error> refused_;  ///< the error of the first step: a value could not be bound
};

/** One connection to a SQLite database. */
class Database {
public:
    enum class Access { ReadOnly, ReadWrite, Create };

    /** Opens a database. The path must be absolute; symlinks in it are refused. */
    static Result<Database> open(const std::string& path, Access access);

    /** Runs statements without parameters and ignores their rows. */
    Status execute(const char* sql);

    Result<Statement> prepare(std::string_view sql);

    /** The key of the last inserted row. */
    std::int64_t lastRow() const { return sqlite3_last_insert_rowid(connection_.get()); }

    /** Runs a query that returns a single number. A missing row is StateCorrupt. */
    Result<std::int64_t> number(std::string_view sql);

private:
    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    explicit Database(sqlite3* connection) : connection_(connection) {}

    std::unique_ptr<sqlite3, Close> connection_;
};

/** A transaction: all changes between begin and commit take effect, or none. The destructor rolls back
 * unless committed. */
class Transaction {
public:
    /** Starts a transaction and locks out other writers immediately. */
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
