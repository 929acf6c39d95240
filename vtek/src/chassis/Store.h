#pragma once

#include "base/Root.h"
#include "chassis/Database.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vtek {

/** The values of settings by name. */
using SettingTexts = std::map<std::string, std::string, std::less<>>;

/** One installed firmware. */
struct Generation {
    std::int64_t number;  ///< also the name of its folder in repository/
    std::string componentId;
    std::string version;
    std::string replacedVersion;  ///< the version before the update, which a rollback restores
    std::string payloadDigest;    ///< SHA-256 of the whole file, in hex
    std::string signer;           ///< the subject of the signer's certificate
};

/** One entry of the history. */
struct HistoryEntry {
    std::string time;     ///< UTC, as 2024-05-31T12:00:00Z; set by appendHistory
    std::string outcome;  ///< "updated", "rolled back", "override granted"
    std::int64_t generation = 0;
    std::string componentId;
    std::string fromVersion;
    std::string toVersion;
    std::string signer;
    std::string payloadDigest;
    bool override = false;  ///< the version floor was overridden for this update
    std::string realUser;
    std::string loginUser;
};

/**
 * The state of a root in one SQLite database: settings, the controller's inventory, generations and history.
 *
 * Readers need no write access and see the last committed state while an update runs.
 */
class Store {
public:
    enum class Mode { Read, Write };

    /** Creates the database of a new root. */
    static Status create(const Root& root);

    /** Opens the database after checking its owner, mode and layout. A writer takes all rights on it from
     * others. Reading falls back to a writable connection if a process died inside its commit. */
    static Result<Store> open(const Root& root, Mode mode);

    Database& database() { return database_; }

    /** Fails with StateCorrupt if SQLite's quick check finds damage. */
    Status checkIntegrity();

    /** Returns the settings that differ from their defaults. */
    Result<SettingTexts> settings();
    Status setSetting(std::string_view name, std::string_view value);
    Status clearSetting(std::string_view name);

    /** The number of the generation in force; 0 before the first update. */
    Result<std::int64_t> currentGeneration();

    /** The number for the next generation; numbers are never reused. */
    Result<std::int64_t> nextGeneration();

    /** Returns a generation, or nothing if it is not kept. */
    Result<std::optional<Generation>> generation(std::int64_t number);

    /** Puts a new generation in force. Keeps the one before it for a rollback and forgets all older ones. */
    Status addGeneration(const Generation& generation);

    /** Puts the previous generation in force again and forgets the newest. @return the newest */
    Result<Generation> dropGeneration();

    /** The generations whose folders must be kept, in ascending order. */
    Result<std::vector<std::int64_t>> keptGenerations();

    /** Appends an entry with the current time. */
    Status appendHistory(const HistoryEntry& entry);

    /** Returns the history, oldest entry first. */
    Result<std::vector<HistoryEntry>> history();

private:
    explicit Store(Database database) : database_(std::move(database)) {}
    Database database_;
};

}  // namespace vtek
