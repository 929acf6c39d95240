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
    std::string report;  ///< what the program's report says then
    std::string remedy;
};
void PrintTo(const DocumentedError& error, std::ostream* out);

/** The rows, in their order; throws std::runtime_error when the table does not look as it should. */
std::vector<DocumentedError> documentedErrors();

}  // namespace test
