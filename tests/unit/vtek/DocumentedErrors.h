#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace test {

/** One row of the table at the top of docs/stand-in.md. */
struct DocumentedError {
    std::string cause;
    int number;
    std::string call;    ///< the call that fails
    std::string report;  ///< the text in the program's report
    std::string remedy;
};
void PrintTo(const DocumentedError& error, std::ostream* out);

/** Reads the rows in order. Throws std::runtime_error if the table is malformed. */
std::vector<DocumentedError> documentedErrors();

}  // namespace test
