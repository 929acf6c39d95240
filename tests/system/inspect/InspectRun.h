#pragma once

#include "Process.h"
#include "TempDir.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/** The program under test. */
std::string inspectProgram();

/** Runs qrxinspect with these arguments in the folder. */
Outcome inspect(const std::filesystem::path& folder, std::vector<std::string> arguments);

/** As inspect, and reads what it printed as JSON. */
nlohmann::json inspectJson(const std::filesystem::path& folder, std::vector<std::string> arguments);

/** The documents that the program under inspection writes, and some that it never should. */
namespace report {

std::string inventory(const std::string& componentId, const std::string& version);
std::string update(const std::string& componentId, const std::string& version, const std::string& reboot);
std::string failedInventory(const std::string& message);
std::string failedUpdate(const std::string& message);

}  // namespace report
}  // namespace test
