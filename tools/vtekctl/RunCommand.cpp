#include "Command.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace tools {

namespace {

constexpr const char* kLibrary = "libvtek.so.0";

/** The folder of the stand-in library: where it is installed, or the build's own for a vtekctl that is not.
 */
vtek::Result<std::string> libraryFolder() {
    for (const char* folder : {VTEK_BUILD_LIBRARY_FOLDER, VTEK_LIBRARY_FOLDER}) {
        if (std::filesystem::exists(std::filesystem::path(folder) / kLibrary)) {
            return std::string(folder);
        }
    }
    return vtek::Error{vtek::ErrorNumber::InvalidArgument,
                       std::string("no ") + kLibrary + " in " + VTEK_LIBRARY_FOLDER};
}

class RunCommand : public Command {
public:
    void define(CLI::App& app) override {
        app.add_option("command", words_, "the program and its arguments, after --")
            ->required()
            ->expected(-1);
        app.footer("Ends as the program does.");
    }

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(const vtek::Root root, context.openRoot());
        VTEK_ASSIGN(std::string path, libraryFolder());
        if (const char* inherited = std::getenv("LD_LIBRARY_PATH");
            inherited != nullptr && *inherited != '\0') {
            path.append(":").append(inherited);
        }
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

std::unique_ptr<Command> makeRun() {
    return std::make_unique<RunCommand>();
}

}  // namespace tools
