#pragma once

#include <libxml/tree.h>

#include <string>
#include <vector>

namespace tools {

/** Something missing or suspicious in a package description. */
struct Finding {
    long line;  // of the element that it is about
    std::string text;
};

/** Looks through a package description; the findings come by line. */
std::vector<Finding> checkPackage(const xmlDoc& document);

}  // namespace tools
