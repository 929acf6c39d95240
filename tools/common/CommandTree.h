#pragma once

#include <string>
#include <vector>

namespace tools {

/** An option, or an operand, as help shows it. */
struct OptionText {
    std::vector<std::string> names;  ///< of an option: with the dashes, short ones first; of an operand: one
    std::string value;               ///< FILE, FOLDER, a choice such as tar|zip; empty for a flag
    std::string help;
    bool isRequired;
    bool isRepeatable;
};

/** A tool, a group of commands or a command, with everything below it. Hidden options are left out. */
struct CommandTree {
    std::string word;      ///< "import"
    std::string fullName;  ///< "vtekctl inventory import"
    std::string summary;
    std::string footer;  ///< the paragraph after the options
    std::vector<OptionText> options;
    std::vector<OptionText> operands;
    std::vector<CommandTree> commands;
};

}  // namespace tools
