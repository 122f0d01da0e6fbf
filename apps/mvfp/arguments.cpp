#include "arguments.h"

#include <CLI/CLI.hpp>

namespace corvex::mvfp {

Argument Argument::Named(const std::string& value) const {
  return Argument(option_->type_name(value));
}

Argument Argument::OrFrom(const std::string& variable) const {
  return Argument(option_->envname(variable));
}

Argument Argument::OneOf(const std::vector<std::string>& values) const {
  return Argument(option_->check(CLI::IsMember(values)));
}

Argument Argument::Checked(
    std::string (*problem)(const std::string& value)) const {
  return Argument(option_->check(problem));
}

Argument Argument::Required() const { return Argument(option_->required()); }

Argument Argument::Needs(const Argument& other) const {
  return Argument(option_->needs(other.option_));
}

Argument Argument::Excludes(const Argument& other) const {
  return Argument(option_->excludes(other.option_));
}

Argument Arguments::Text(const std::string& names, std::string* value,
                         const std::string& help) const {
  return Argument(command_->add_option(names, *value, help));
}

Argument Arguments::Number(const std::string& names, int* value, int lowest,
                           int highest, const std::string& help) const {
  return Argument(command_->add_option(names, *value, help)
                      ->check(CLI::Range(lowest, highest)));
}

Argument Arguments::Flag(const std::string& names, bool* value,
                         const std::string& help) const {
  return Argument(command_->add_flag(names, *value, help));
}

}  // namespace corvex::mvfp
