#ifndef ORVCTL_OPTIONS_H
#define ORVCTL_OPTIONS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Options and words of a verb. The parser's templates stay behind this header: every file that saw
/// them would compile for as long as all the rest of it together.

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orvctl {

/// What a word of the command line must be.
struct word_rule {
  bool (*fits)(std::string_view);
  const char* wanted;  ///< "'WORD' is not ..."
};

/// An option or a word of a verb, while it is described.
class option {
 public:
  explicit option(CLI::Option* described) : described_(described) {}

  option& required(bool needed = true);
  /// What stands for the value in the help; nothing for a word that names itself.
  option& type_name(const char* name);
  option& check(const word_rule& rule);
  option& description(const std::string& about);
  option& excludes(const option& other);
  /// Takes one value each time it is given.
  option& one_at_a_time();

 private:
  CLI::Option* described_;
};

/// @param names  such as "--name" or "-y,--yes"; without dashes it is a word
option add_option(CLI::App& verb, const std::string& names, std::string& value,
                  const std::string& about);
option add_option(CLI::App& verb, const std::string& names, std::optional<std::string>& value,
                  const std::string& about);
option add_option(CLI::App& verb, const std::string& names, std::vector<std::string>& values,
                  const std::string& about);
option add_option(CLI::App& verb, const std::string& names, std::uint64_t& value,
                  const std::string& about);
option add_option(CLI::App& verb, const std::string& names, double& value,
                  const std::string& about);
option add_option(CLI::App& verb, const std::string& names, std::optional<unsigned>& value,
                  const std::string& about);
/// An option whose value goes to a function.
option add_option(CLI::App& verb, const std::string& names,
                  const std::function<void(const std::string&)>& take, const std::string& about);
option add_flag(CLI::App& verb, const std::string& names, bool& value, const std::string& about);

std::string name_of(const CLI::App& verb);

/// More about a verb, below its example.
void add_to_help(CLI::App& verb, const std::string& text);

}  // namespace orvctl

#endif
