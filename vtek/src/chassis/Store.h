#pragma once

#include "base/Root.h"
#include "chassis/Database.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vtek {

/** Values of settings, by name. */
using SettingTexts = std::map<std::string, std::string, std::less<>>;

/** One firmware that an update put in force. */
struct Generation {
    std::int64_t number;
    std::string componentId;
    std::string version;
    std::string replacedVersion;  ///< what a rollback goes back to
    std::string payloadDigest;
    std::string signer;
};

/** One line of the history. */
struct HistoryEntry {
    std::string time;     ///< UTC, as 2024-05-31T12:00:00Z; filled in by the store when appended
    std::string outcome;  ///< "updated", "rolled back", "override granted"
    std::int64_t generation = 0;
    std::string componentId;
    std::string fromVersion;
    std::string toVersion;
    std::string signer;
    std::string payloadDigest;
    bool override = false;  ///< the version floor was waived for this update
    std::string realUser;
    std::string loginUser;
};

/**
 * What a root remembers: settings, the controller's inventory, generations and history, in one SQLite
 * database.
 *
 * Readers need no right to write and see the last committed state beside a running update.
 */
class Store {
public:
    enum class Mode { Read, Write };

    /** Makes the database of a new root. */
    static Status create(const Root& root);

    /** Opens the database after checking its owner, mode and layout. */
    static Result<Store> open(const Root& root, Mode mode);

    Database& database() { return database_; }

    /** Refuses a database whose pages or rows do not hang together. */
    Status checkIntegrity();

    /** The values of the settings that were changed from their defaults. */
    Result<SettingTexts> settings();
    Status setSetting(std::string_view name, std::string_view value);
    Status clearSetting(std::string_view name);

    /** The number of the generation in force; 0 before the first update. */
    Result<std::int64_t> currentGeneration();

    /** The number that the next update takes; never given twice. */
    Result<std::int64_t> nextGeneration();

    Result<std::optional<Generation>> generation(std::int64_t number);

    /** Puts a new generation in force; the one before it becomes the one that a rollback goes back to. */
    Status addGeneration(const Generation& generation);

    /** Puts the previous generation in force again and forgets the newest. @return what was undone */
    Result<Generation> dropGeneration();

    /** The generations whose folders must be kept. */
    Result<std::vector<std::int64_t>> keptGenerations();

    Status appendHistory(const HistoryEntry& entry);

    /** The history, oldest first. */
    Result<std::vector<HistoryEntry>> history();

private:
    explicit Store(Database database) : database_(std::move(database)) {}
    Database database_;
};

}  // namespace vtek
