#include "Vtekctl.h"

#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace vtekctl {
namespace {

constexpr const char* kLibrary = "libvtek.so.0";

class RunCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.values("command", words_, "the program and its arguments").required().takes("COMMAND");
        options.operandsLast();
        options.footer("Ends as the program does.");
    }

    vtek::Result<ExitStatus> run(const Console&) override {
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(const auto folder,
                    shippedFolder(VTEK_INSTALLED_LIBRARY_FOLDER, VTEK_BUILT_LIBRARY_FOLDER, kLibrary));
        std::string path = folder.string();
        if (const char* inherited = std::getenv("LD_LIBRARY_PATH");
            inherited != nullptr && *inherited != '\0') {
            path.append(":").append(inherited);
        }
        // The program replaces vtekctl, so that its signals and its exit status are the caller's.
        setenv("VTEK_ROOT", root.path().c_str(), 1);
        setenv("LD_LIBRARY_PATH", path.c_str(), 1);
        std::vector<char*> arguments;
        for (auto& word : words_) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        execvp(arguments.front(), arguments.data());
        return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "run " + words_.front());
    }

private:
    std::vector<std::string> words_;
};

}  // namespace

std::unique_ptr<tools::Command> makeRun(const Chassis& chassis) {
    return std::make_unique<RunCommand>(chassis);
}

}  // namespace vtekctl
