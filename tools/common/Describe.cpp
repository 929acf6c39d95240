#include "Describe.h"

namespace tools {

void addDescribe(CLI::App& tool) {
    const auto describe = [&tool](const std::string& form) {
        // An answer that ends the parsing, as that to --version does.
        throw CLI::CallForVersion(form == "bash" ? bashCompletion(tool) : manualText(tool),
                                  static_cast<int>(CLI::ExitCodes::Success));
    };
    tool.add_option_function<std::string>("--describe", describe, "bash or scdoc")
        ->check(CLI::IsMember({"bash", "scdoc"}))
        ->group("")
        ->trigger_on_parse();
}

}  // namespace tools
