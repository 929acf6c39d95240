#include "common/Options.h"

#include <CLI/CLI.hpp>

namespace tools {

Option& Option::required() {
    option_->required();
    return *this;
}

Option& Option::takes(const std::string& kind) {
    option_->type_name(kind);
    return *this;
}

Option& Option::within(int low, int high) {
    option_->check(CLI::Range(low, high));
    return *this;
}

Option& Option::oneOf(const std::vector<std::string>& values) {
    option_->check(CLI::IsMember(values).description(""));
    return *this;
}

Option& Option::needs(const Option& other) {
    option_->needs(other.option_);
    return *this;
}

Option& Option::excludes(const Option& other) {
    option_->excludes(other.option_);
    return *this;
}

Option& Option::showsDefault() {
    option_->capture_default_str();
    return *this;
}

bool Option::isGiven() const {
    return !option_->empty();
}

Option Options::flag(const std::string& names, bool& value, const std::string& help) {
    return Option(app_.add_flag(names, value, help));
}

Option Options::value(const std::string& names, std::string& value, const std::string& help) {
    return Option(app_.add_option(names, value, help));
}

Option Options::value(const std::string& names, int& value, const std::string& help) {
    return Option(app_.add_option(names, value, help));
}

Option Options::values(const std::string& names, std::vector<std::string>& values, const std::string& help) {
    return Option(app_.add_option(names, values, help));
}

Option Options::named(const std::string& name) {
    return Option(app_.get_option(name));
}

void Options::operandsLast() {
    app_.positionals_at_end();
}

void Options::footer(const std::string& text) {
    app_.footer(text);
}

}  // namespace tools
