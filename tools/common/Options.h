#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tools {

/** An option or operand that a command has declared. */
class Option {
public:
    Option() = default;
    explicit Option(CLI::Option* option) : option_(option) {}

    Option& required();
    /** What help and completion say of the value: FILE, FOLDER, COMMAND, a|b|c or another word. */
    Option& takes(const std::string& kind);
    Option& within(int low, int high);
    Option& oneOf(const std::vector<std::string>& values);
    Option& needs(const Option& other);
    Option& excludes(const Option& other);
    /** Help shows the default. */
    Option& showsDefault();

    /** Whether the command line has it. Only after parsing. */
    bool isGiven() const;

private:
    CLI::Option* option_ = nullptr;
};

/**
 * Where a command declares its options and operands; parsing sets the values. A name without a dash declares
 * an operand. Commands never see the parser library: its header takes the compiler half a minute.
 */
class Options {
public:
    explicit Options(CLI::App& app) : app_(app) {}

    Option flag(const std::string& names, bool& value, const std::string& help);
    Option value(const std::string& names, std::string& value, const std::string& help);
    Option value(const std::string& names, int& value, const std::string& help);
    Option values(const std::string& names, std::vector<std::string>& values, const std::string& help);

    /** An option that is declared already. */
    Option named(const std::string& name);

    /** Everything after the first operand is an operand, too: another program's options, for instance. */
    void operandsLast();

    /** The paragraph of help after the options. */
    void footer(const std::string& text);

private:
    CLI::App& app_;
};

}  // namespace tools
