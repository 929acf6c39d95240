#include "HookedProgram.h"

#include <filesystem>

namespace test {

Outcome HookedProgram::run(const char* option, const std::map<std::string, std::string>& hook) const {
    const auto record = lab_.aside() / "record";
    writeFile(record, "");
    std::filesystem::remove(lab_.rootPath() / "log/vtek.log");
    auto environment = hook;
    environment.insert({{"VTEK_ROOT", lab_.rootPath().string()},
                        {"STEP_RECORD", record.string()},
                        {"LD_PRELOAD", QRX_STEP_HOOK},
                        {"ASAN_OPTIONS", "verify_asan_link_order=0"}});
    return test::run(
        {.arguments = {QRX_PROGRAM, option}, .workingDirectory = lab_.package(), .environment = environment});
}

std::string HookedProgram::record() const {
    return readFile(lab_.aside() / "record");
}

}  // namespace test
