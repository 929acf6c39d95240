#include "chassis/Store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace vtek {

namespace {

constexpr std::int64_t kApplicationId = 0x5654454B;  // "VTEK" in the header of the SQLite file
constexpr std::int64_t kLayout = 1;                  // the version of the schema below

/**
 * The schema. kApplicationId and kLayout stand in it as literals, because a PRAGMA takes no parameters.
 *
 * synchronous = EXTRA also syncs the folder after the journal is deleted. Without that, a power cut could
 * bring the journal back, and the next reader would undo a commit that was already reported.
 */
constexpr const char* kSchema = R"(
    PRAGMA journal_mode = DELETE;
    PRAGMA synchronous = EXTRA;
    BEGIN;
    PRAGMA application_id = 0x5654454B;
    PRAGMA user_version = 1;
    CREATE TABLE setting (name TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL) STRICT, WITHOUT ROWID;
    CREATE TABLE device (id INTEGER PRIMARY KEY, component_id TEXT NOT NULL, display TEXT) STRICT;
    CREATE INDEX device_component ON device (component_id);
    CREATE TABLE application (id INTEGER PRIMARY KEY, device INTEGER NOT NULL REFERENCES device (id),
        component_type TEXT, version TEXT, display TEXT) STRICT;
    CREATE INDEX application_device ON application (device);
    CREATE TABLE generation (number INTEGER PRIMARY KEY AUTOINCREMENT, component_id TEXT NOT NULL,
        version TEXT NOT NULL, replaced_version TEXT NOT NULL, payload_digest TEXT NOT NULL,
        signer TEXT NOT NULL) STRICT;
    CREATE TABLE in_force (id INTEGER PRIMARY KEY CHECK (id = 1), generation INTEGER NOT NULL,
        previous INTEGER) STRICT;
    INSERT INTO in_force VALUES (1, 0, NULL);
    CREATE TABLE history (id INTEGER PRIMARY KEY AUTOINCREMENT, time TEXT NOT NULL, outcome TEXT NOT NULL,
        generation INTEGER NOT NULL, component_id TEXT NOT NULL, from_version TEXT NOT NULL,
        to_version TEXT NOT NULL, signer TEXT NOT NULL, payload_digest TEXT NOT NULL, override INTEGER NOT NULL,
        real_user TEXT NOT NULL, login_user TEXT NOT NULL) STRICT;
    COMMIT;
)";

/** What SQLite may put next to a database: a journal, or the log and the index of WAL mode. */
constexpr const char* kCompanions[] = {"-journal", "-wal", "-shm"};

std::string statePath(const Root& root) {
    return root.path() + "/" + kStateFile;
}

/** SQLite would only say that it cannot open the file. */
Status checkReadable(const Root& root) {
    if (faccessat(root.folder(), kStateFile, R_OK, AT_EACCESS) == 0) {
        return {};
    }
    const bool denied = errno == EACCES;
    const Error error = systemError(ErrorNumber::StateUnreadable, statePath(root));
    return denied ? Error{error.number, error.message + "; only the owner of the root may read it"} : error;
}

/** Closes the database to others, who could otherwise hold a read lock on it and block every commit. Roots
 * made by earlier versions let everybody read it. */
Status makePrivate(const Root& root) {
    VTEK_TRY(root.makePrivate(kStateFile, Root::Presence::Required, ErrorNumber::StateUnreadable));
    for (const char* suffix : kCompanions) {
        VTEK_TRY(root.makePrivate(std::string(kStateFile) + suffix, Root::Presence::Optional,
                                  ErrorNumber::StateUnreadable));
    }
    return {};
}

Status checkLayout(Database& database) {
    VTEK_ASSIGN(const std::int64_t id, database.number("PRAGMA application_id"));
    VTEK_ASSIGN(const std::int64_t layout, database.number("PRAGMA user_version"));
    if (id != kApplicationId || layout != kLayout) {
        return Error{ErrorNumber::StateLayout, "state.db has layout " + std::to_string(layout) +
                                                   "; this library supports " + std::to_string(kLayout)};
    }
    return {};
}

}  // namespace

Status Store::create(const Root& root) {
    // Created here and not by SQLite, to refuse an existing file or symlink and to choose the mode.
    // SQLite gives the same mode to the files that it puts next to this one.
    const UniqueFd file = createFileAt(root.folder(), kStateFile, kPrivateFile);
    if (!file) {
        return systemError(ErrorNumber::StateUnreadable, "create " + statePath(root));
    }
    VTEK_ASSIGN(Database database, Database::open(statePath(root), Database::Access::ReadWrite));
    VTEK_TRY(database.execute(kSchema));
    return syncFd(root.folder()) ? Status() : systemError(ErrorNumber::SyncFailed, "sync " + root.path());
}

Result<Store> Store::open(const Root& root, Mode mode) {
    VTEK_TRY(root.checkFile(kStateFile, Root::Presence::Required, ErrorNumber::StateUnreadable));
    // SQLite plays back a journal next to the database, so the journal must be just as trustworthy.
    for (const char* suffix : kCompanions) {
        VTEK_TRY(root.checkFile(std::string(kStateFile) + suffix, Root::Presence::Optional,
                                ErrorNumber::StateUnreadable));
    }
    VTEK_TRY(checkReadable(root));
    if (mode == Mode::Read) {
        VTEK_ASSIGN(Database reader, Database::open(statePath(root), Database::Access::ReadOnly));
        const Status layout = checkLayout(reader);
        if (layout) {
            return Store(std::move(reader));
        }
        // A process died inside its commit, and only a writable connection can play back its journal.
        if (layout.error().number != ErrorNumber::RepositoryUnwritable) {
            return layout.error();
        }
    }
    VTEK_TRY(makePrivate(root));
    VTEK_ASSIGN(Database database, Database::open(statePath(root), Database::Access::ReadWrite));
    VTEK_TRY(checkLayout(database));
    // None of these is stored in the file. Temporary tables in memory leave no file for others to tamper
    // with.
    VTEK_TRY(
        database.execute("PRAGMA synchronous = EXTRA; PRAGMA temp_store = MEMORY; PRAGMA foreign_keys = ON"));
    return Store(std::move(database));
}

Status Store::checkIntegrity() {
    VTEK_ASSIGN(Statement check, database_.prepare("PRAGMA quick_check(1)"));
    VTEK_ASSIGN(const bool found, check.step());
    if (!found || check.textView(0) != "ok") {
        return Error{ErrorNumber::StateCorrupt,
                     "state.db: " + (found ? check.text(0) : "the integrity check returned nothing")};
    }
    return {};
}

Result<SettingTexts> Store::settings() {
    VTEK_ASSIGN(Statement query, database_.prepare("SELECT name, value FROM setting"));
    SettingTexts values;
    VTEK_TRY(query.forEachRow([&] { values.emplace(query.text(0), query.text(1)); }));
    return values;
}

Status Store::setSetting(std::string_view name, std::string_view value) {
    VTEK_ASSIGN(Statement change, database_.prepare("INSERT OR REPLACE INTO setting VALUES (?, ?)"));
    return change.bind(1, name).bind(2, value).run();
}

Status Store::clearSetting(std::string_view name) {
    VTEK_ASSIGN(Statement change, database_.prepare("DELETE FROM setting WHERE name = ?"));
    return change.bind(1, name).run();
}

Result<std::int64_t> Store::currentGeneration() {
    return database_.number("SELECT generation FROM in_force");
}

Result<std::int64_t> Store::nextGeneration() {
    // AUTOINCREMENT remembers the highest number ever used, also of rows that are gone.
    return database_.number(
        "SELECT COALESCE((SELECT seq FROM sqlite_sequence WHERE name = 'generation'), 0) + 1");
}

Result<std::optional<Generation>> Store::generation(std::int64_t number) {
    VTEK_ASSIGN(
        Statement query,
        database_.prepare("SELECT number, component_id, version, replaced_version, payload_digest, signer "
                          "FROM generation WHERE number = ?"));
    VTEK_ASSIGN(const bool found, query.bind(1, number).step());
    if (!found) {
        return std::optional<Generation>();
    }
    return std::optional(Generation{query.number(0), query.text(1), query.text(2), query.text(3),
                                    query.text(4), query.text(5)});
}

Status Store::addGeneration(const Generation& generation) {
    VTEK_ASSIGN(Statement add, database_.prepare("INSERT INTO generation VALUES (?, ?, ?, ?, ?, ?)"));
    VTEK_TRY(add.bind(1, generation.number)
                 .bind(2, generation.componentId)
                 .bind(3, generation.version)
                 .bind(4, generation.replacedVersion)
                 .bind(5, generation.payloadDigest)
                 .bind(6, generation.signer)
                 .run());
    VTEK_ASSIGN(Statement put,
                database_.prepare("UPDATE in_force SET previous = generation, generation = ?"));
    VTEK_TRY(put.bind(1, generation.number).run());
    return database_.execute(
        "DELETE FROM generation WHERE number NOT IN (SELECT generation FROM in_force "
        "UNION SELECT previous FROM in_force)");
}

Result<Generation> Store::dropGeneration() {
    VTEK_ASSIGN(const std::int64_t number, currentGeneration());
    VTEK_ASSIGN(const auto newest, generation(number));
    VTEK_ASSIGN(const std::int64_t undoable, database_.number("SELECT previous IS NOT NULL FROM in_force"));
    if (!newest || undoable == 0) {
        return Error{ErrorNumber::NothingToRollBack, "there is no earlier generation"};
    }
    VTEK_TRY(database_.execute("UPDATE in_force SET generation = previous, previous = NULL"));
    VTEK_ASSIGN(Statement drop, database_.prepare("DELETE FROM generation WHERE number = ?"));
    VTEK_TRY(drop.bind(1, number).run());
    return *newest;
}

Result<std::vector<std::int64_t>> Store::keptGenerations() {
    VTEK_ASSIGN(Statement query, database_.prepare("SELECT number FROM generation ORDER BY number"));
    std::vector<std::int64_t> numbers;
    VTEK_TRY(query.forEachRow([&] { numbers.push_back(query.number(0)); }));
    return numbers;
}

Status Store::appendHistory(const HistoryEntry& entry) {
    VTEK_ASSIGN(
        Statement append,
        database_.prepare("INSERT INTO history (time, outcome, generation, component_id, from_version, "
                          "to_version, signer, payload_digest, override, real_user, login_user) "
                          "VALUES (strftime('%Y-%m-%dT%H:%M:%SZ', 'now'), ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
    return append.bind(1, entry.outcome)
        .bind(2, entry.generation)
        .bind(3, entry.componentId)
        .bind(4, entry.fromVersion)
        .bind(5, entry.toVersion)
        .bind(6, entry.signer)
        .bind(7, entry.payloadDigest)
        .bind(8, std::int64_t{entry.override})
        .bind(9, entry.realUser)
        .bind(10, entry.loginUser)
        .run();
}

Result<std::vector<HistoryEntry>> Store::history() {
    VTEK_ASSIGN(
        Statement query,
        database_.prepare("SELECT time, outcome, generation, component_id, from_version, to_version, signer, "
                          "payload_digest, override, real_user, login_user FROM history ORDER BY id"));
    std::vector<HistoryEntry> entries;
    VTEK_TRY(query.forEachRow([&] {
        entries.push_back({query.text(0), query.text(1), query.number(2), query.text(3), query.text(4),
                           query.text(5), query.text(6), query.text(7), query.number(8) != 0, query.text(9),
                           query.text(10)});
    }));
    return entries;
}

}  // namespace vtek
