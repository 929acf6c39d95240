#pragma once

#include "Lab.h"
#include "Process.h"

#include <map>
#include <string>

namespace test {

/** The program on a lab's chassis, with StepHook between it and the platform library. */
class HookedProgram {
public:
    explicit HookedProgram(const Lab& lab) : lab_(lab) {}

    /**
     * Runs the program in the package's folder; the record and the library's log begin anew.
     *
     * @param hook  what StepHook does; other variables are set as well
     */
    Outcome run(const char* option, const std::map<std::string, std::string>& hook) const;

    /** The calls that failed in the last run, a line "CALL NUMBER" for each. */
    std::string record() const;

private:
    const Lab& lab_;
};

}  // namespace test
