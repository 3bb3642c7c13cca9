#include "tools/orvctl/options.h"

#include <CLI/CLI.hpp>

namespace orvctl {

option& option::required(bool needed) {
  described_->required(needed);
  return *this;
}

option& option::type_name(const char* name) {
  described_->type_name(name);
  return *this;
}

option& option::check(const word_rule& rule) {
  described_->check(CLI::Validator(
      [rule](std::string& word) {
        return rule.fits(word) ? std::string() : "'" + word + "' is not " + rule.wanted;
      },
      ""));
  return *this;
}

option& option::description(const std::string& about) {
  described_->description(about);
  return *this;
}

option& option::excludes(const option& other) {
  described_->excludes(other.described_);
  return *this;
}

option& option::one_at_a_time() {
  described_->allow_extra_args(false);
  return *this;
}

option add_option(CLI::App& verb, const std::string& names, std::string& value,
                  const std::string& about) {
  return option(verb.add_option(names, value, about));
}

option add_option(CLI::App& verb, const std::string& names, std::optional<std::string>& value,
                  const std::string& about) {
  return option(verb.add_option(names, value, about));
}

option add_option(CLI::App& verb, const std::string& names, std::vector<std::string>& values,
                  const std::string& about) {
  return option(verb.add_option(names, values, about));
}

option add_option(CLI::App& verb, const std::string& names, std::uint64_t& value,
                  const std::string& about) {
  return option(verb.add_option(names, value, about));
}

option add_option(CLI::App& verb, const std::string& names, double& value,
                  const std::string& about) {
  return option(verb.add_option(names, value, about));
}

option add_option(CLI::App& verb, const std::string& names, std::optional<unsigned>& value,
                  const std::string& about) {
  return option(verb.add_option(names, value, about));
}

option add_option(CLI::App& verb, const std::string& names,
                  const std::function<void(const std::string&)>& take, const std::string& about) {
  return option(verb.add_option_function<std::string>(names, take, about));
}

option add_flag(CLI::App& verb, const std::string& names, bool& value, const std::string& about) {
  return option(verb.add_flag(names, value, about));
}

std::string name_of(const CLI::App& verb) { return verb.get_name(); }

void add_to_help(CLI::App& verb, const std::string& text) {
  verb.footer(verb.get_footer() + "\n\n" + text);
}

}  // namespace orvctl
