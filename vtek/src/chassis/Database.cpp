#include "chassis/Database.h"

#include <new>
#include <utility>

namespace vtek {

namespace {

// How long to wait for the commit of another connection, which takes far less.
constexpr int kBusyMilliseconds = 5000;
constexpr int kPrimaryCode = 0xFF;  // the low byte of SQLite's extended result codes

ErrorNumber numberOf(int code) {
    switch (code & kPrimaryCode) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return ErrorNumber::StateBusy;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return ErrorNumber::StateCorrupt;
        case SQLITE_READONLY:
            return ErrorNumber::RepositoryUnwritable;
        case SQLITE_FULL:
            return ErrorNumber::NoSpace;
        default:
            return ErrorNumber::StateUnreadable;
    }
}

Error failure(sqlite3* connection) {
    const int code = sqlite3_extended_errcode(connection);
    return {numberOf(code),
            std::string("state.db: ") + sqlite3_errmsg(connection) + " (" + std::to_string(code) + ")"};
}

int flagsOf(Database::Access access) {
    switch (access) {
        case Database::Access::ReadOnly:
            return SQLITE_OPEN_READONLY;
        case Database::Access::ReadWrite:
            return SQLITE_OPEN_READWRITE;
        case Database::Access::Create:
            return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    }
    return SQLITE_OPEN_READONLY;
}

}  // namespace

Statement& Statement::bind(int position, std::string_view text) {
    return bound(sqlite3_bind_text64(statement_.get(), position, text.data(), text.size(), SQLITE_TRANSIENT,
                                     SQLITE_UTF8));
}

Statement& Statement::bind(int position, std::int64_t value) {
    return bound(sqlite3_bind_int64(statement_.get(), position, value));
}

Statement& Statement::bindOptional(int position, const std::optional<std::string>& text) {
    return text ? bind(position, std::string_view(*text))
                : bound(sqlite3_bind_null(statement_.get(), position));
}

Statement& Statement::bound(int code) {
    if (code != SQLITE_OK) {
        refused_ = failure(sqlite3_db_handle(statement_.get()));
    }
    return *this;
}

Result<bool> Statement::step() {
    if (refused_) {
        return *refused_;
    }
    const int code = sqlite3_step(statement_.get());
    if (code == SQLITE_ROW) {
        return true;
    }
    if (code == SQLITE_DONE) {
        return false;
    }
    return failure(sqlite3_db_handle(statement_.get()));
}

Status Statement::run() {
    Status outcome;
    if (auto stepped = step(); !stepped) {
        outcome = stepped.error();
    }
    sqlite3_reset(statement_.get());
    return outcome;
}

std::string Statement::text(int column) const {
    return std::string(textView(column));
}

std::string_view Statement::textView(int column) const {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
    // SQLite reports a lack of memory here only by a null pointer for a value that is not NULL.
    if (bytes == nullptr && !isNull(column)) {
        throw std::bad_alloc();
    }
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
    return bytes == nullptr ? std::string_view() : std::string_view(bytes, size);
}

std::int64_t Statement::number(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

Result<Database> Database::open(const std::string& path, Access access) {
    sqlite3* raw = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &raw,
                                     flagsOf(access) | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_EXRESCODE, nullptr);
    Database database(raw);  // owns the connection, which SQLite makes even if the open fails
    if (code != SQLITE_OK) {
        return Error{ErrorNumber::StateUnreadable, path + ": " + sqlite3_errstr(code)};
    }
    sqlite3_busy_timeout(raw, kBusyMilliseconds);
    // The file may be damaged or planted. DEFENSIVE keeps SQL from writing to the schema and to internal
    // tables; without TRUSTED_SCHEMA, views and triggers in the file cannot call functions with side effects.
    sqlite3_db_config(raw, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(raw, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    return database;
}

Status Database::execute(const char* sql) {
    if (sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        return failure(connection_.get());
    }
    return {};
}

Result<Statement> Database::prepare(std::string_view sql) {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(connection_.get(), sql.data(), static_cast<int>(sql.size()), &raw, nullptr) !=
        SQLITE_OK) {
        return failure(connection_.get());
    }
    return Statement(raw);
}

Result<std::int64_t> Database::number(std::string_view sql) {
    VTEK_ASSIGN(Statement query, prepare(sql));
    VTEK_ASSIGN(const bool found, query.step());
    if (!found) {
        return Error{ErrorNumber::StateCorrupt, "state.db: a row is missing"};
    }
    return query.number(0);
}

Result<Transaction> Transaction::begin(Database& database) {
    // IMMEDIATE takes the write lock now: a later upgrade from a read lock could fail half-way.
    VTEK_TRY(database.execute("BEGIN IMMEDIATE"));
    return Transaction(database);
}

Transaction::~Transaction() {
    if (database_ != nullptr) {
        // A failed rollback needs no report: the journal undoes the changes when the file is opened next.
        static_cast<void>(static_cast<bool>(database_->execute("ROLLBACK")));
    }
}

Status Transaction::commit() {
    VTEK_TRY(database_->execute("COMMIT"));
    database_ = nullptr;
    return {};
}

}  // namespace vtek
