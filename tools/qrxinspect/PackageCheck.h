#pragma once

#include <libxml/tree.h>
#include <nlohmann/json_fwd.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace qrxinspect {

/** Something missing or suspicious in a package description. */
struct Finding {
    long line;  // of the element in question
    std::string text;
};

/** Checks a package description; the findings are in the order of their lines. */
std::vector<Finding> checkPackage(const xmlDoc& document);

/** One line per finding, "FILE:LINE: text", or one line that says that there is none. */
void printFindings(std::ostream& out, const std::string& file, const std::vector<Finding>& findings);
nlohmann::ordered_json toJson(const std::string& file, const std::vector<Finding>& findings);

}  // namespace qrxinspect
