#include "common/Describe.h"

#include <algorithm>

namespace tools {
namespace {

/** The body of the function that bash calls, after its tables. */
constexpr const char* kFunction = R"sh(
    local command=TOOL current=${COMP_WORDS[COMP_CWORD]} option='' operand=0 word offer heading
    local root=() listing=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ -n $option ]]; then
            [[ $option == --root ]] && root=(--root "$word")
            option=''
        elif [[ -n ${values["$command $word"]-} ]]; then
            option=$word
        elif [[ " ${commands[$command]-} " == *" $word "* ]]; then
            command+=" $word"
        elif [[ $word != -* ]]; then
            operand=$((operand + 1))
        fi
    done
    if [[ -n $option ]]; then
        offer=${values["$command $option"]}
    elif [[ $current == -* ]]; then
        offer=${options[$command]-}
    else
        offer=${commands[$command]-${operands["$command $operand"]-${operands[$command]-NOTHING}}}
    fi
    case $offer in
        NOTHING) ;;
        FILE)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
        FOLDER)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            ;;
        LISTED\ *)
            # compgen -W would run a $(command) in a name.
            read -r _ heading word <<<"$offer"
            read -ra listing <<<"$word"
            while read -r word _; do
                [[ $word == "$current"* ]] && COMPREPLY+=("$(printf %q "$word")")
            done < <(TOOL "${root[@]}" "${listing[@]}" 2>/dev/null | sed "0,/^$heading /d")
            ;;
        COMMAND) mapfile -t COMPREPLY < <(compgen -c -f -- "$current") ;;
        *) mapfile -t COMPREPLY < <(compgen -W "$offer" -- "$current") ;;
    esac
}
complete -F _TOOL TOOL)sh";

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

/** A kind of name that a command lists, in the first column below a heading. */
struct Listed {
    const char* kind;
    const char* heading;
    const char* command;
};

constexpr Listed kListed[] = {
    {"SETTING", "SETTING", "set"},
    {"COMPONENT", "COMPONENT", "show"},
    {"TRUSTED", "FILE", "trust list"},
};

/** What completes a value: a kind of name, or the words of a choice. Only the user knows any other value. */
std::string offerFor(const OptionText& option) {
    std::string value = option.value;
    for (const Listed& listed : kListed) {
        if (value == listed.kind) {
            return std::string("LISTED ") + listed.heading + " " + listed.command;
        }
    }
    if (value.find('|') != std::string::npos) {
        std::replace(value.begin(), value.end(), '|', ' ');
        return value;
    }
    return value == "FILE" || value == "FOLDER" || value == "COMMAND" || value.empty() ? value : "NOTHING";
}

/** The four tables of one tool; the keys are commands with their groups, as they are typed. */
class Tables {
public:
    void add(const CommandTree& tree) {
        const std::string& name = tree.fullName;
        std::vector<std::string> inner;
        for (const CommandTree& command : tree.commands) {
            inner.push_back(command.word);
        }
        row(commands_, name, joined(inner));
        std::vector<std::string> optionNames;
        for (const OptionText& option : tree.options) {
            for (const std::string& own : option.names) {
                optionNames.push_back(own);
                row(values_, name + " " + own, offerFor(option));
            }
        }
        row(options_, name, joined(optionNames));
        for (std::size_t number = 0; number < tree.operands.size(); ++number) {
            const std::string offer = offerFor(tree.operands[number]);
            row(operands_, name + " " + std::to_string(number), offer);
            if (number + 1 == tree.operands.size()) {  // it may be repeated
                row(operands_, name, offer);
            }
        }
        for (const CommandTree& command : tree.commands) {
            add(command);
        }
    }

    std::string text() const {
        return "    local -A commands=(\n" + commands_ + "    )\n    local -A options=(\n" + options_ +
               "    )\n    local -A values=(\n" + values_ + "    )\n    local -A operands=(\n" + operands_ +
               "    )\n";
    }

private:
    static void row(std::string& table, const std::string& key, const std::string& offer) {
        if (!offer.empty()) {
            table += "        ['" + key + "']='" + offer + "'\n";
        }
    }

    std::string commands_;
    std::string options_;
    std::string values_;
    std::string operands_;
};

std::string withName(std::string text, const std::string& name) {
    constexpr std::string_view kPlace = "TOOL";
    for (auto at = text.find(kPlace); at != std::string::npos; at = text.find(kPlace)) {
        text.replace(at, kPlace.size(), name);
    }
    return text;
}

}  // namespace

std::string bashCompletion(const CommandTree& tool) {
    Tables tables;
    tables.add(tool);
    return "# bash completion for " + tool.word + ", made from its command table\n_" + tool.word + "() {\n" +
           tables.text() + withName(kFunction, tool.word).substr(1);
}

}  // namespace tools
