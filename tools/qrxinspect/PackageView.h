#pragma once

#include "PackageCheck.h"
#include "PackageFacts.h"

#include <nlohmann/json_fwd.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace tools {

/** How `package` shows what it found, for people and for programs. */

void printFacts(std::ostream& out, const PackageFacts& facts);
nlohmann::ordered_json toJson(const PackageFacts& facts);

/** One line per finding, "FILE:LINE: text", or one line that says that there is none. */
void printFindings(std::ostream& out, const std::string& file, const std::vector<Finding>& findings);
nlohmann::ordered_json toJson(const std::string& file, const std::vector<Finding>& findings);

}  // namespace tools
