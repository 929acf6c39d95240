#pragma once

#include "CaseFile.h"
#include "Process.h"
#include "TempDir.h"

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/** The built program. */
std::filesystem::path program();

/** The text with every `what` replaced. */
std::string replaceAll(std::string text, const std::string& what, const std::string& with);

/**
 * A place to run the program in: its own working directory, and the scripted platform library.
 *
 * Without a script the library is a willing chassis with an empty inventory.
 */
class Workplace {
public:
    Workplace();

    /** The working directory, empty at first. */
    const std::filesystem::path& directory() const { return directory_; }

    /** Reads a case, with this working directory in the place of "@WORK@". */
    Case readCase(const std::string& name) const;

    /** Writes the input files and the library's script of a case, and returns the case as readCase does. */
    Case takeCase(const std::string& name);

    /** Sets the file with the library's answers. */
    void useScript(const std::filesystem::path& file) { script_ = file; }

    /** The program with these arguments, in the working directory, with the scripted library. */
    Command command(const std::vector<std::string>& arguments) const;

    /** A debug log of the working directory; time stamps and line numbers masked. */
    std::string log(const std::string& name = "debug.log") const;

    /** The calls that reached the library, with the lines of its own log; line numbers read "nnnnn". */
    std::string calls() const;

private:
    TempDir folder_;
    std::filesystem::path directory_;
    std::filesystem::path script_;
};

}  // namespace test
