#include "Command.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace tools {

namespace {

constexpr const char* kLibrary = "libvtek.so.0";

/** The folder of the stand-in library, found from where this executable lies: as installed, or in a build. */
vtek::Result<std::string> libraryFolder() {
    const auto here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const char* folder : {VTEK_INSTALLED_LIBRARY_FOLDER, VTEK_BUILT_LIBRARY_FOLDER}) {
        const auto candidate = (here / folder).lexically_normal();
        if (std::filesystem::exists(candidate / kLibrary)) {
            return candidate.string();
        }
    }
    return vtek::Error{vtek::ErrorNumber::InvalidArgument,
                       std::string("no ") + kLibrary + " in " +
                           (here / VTEK_INSTALLED_LIBRARY_FOLDER).lexically_normal().string()};
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
