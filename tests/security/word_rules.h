/// The words of a command line by the rules of the shell, as far as the library's command lines
/// need them. What is beyond them is no command line of the library's. The injection tests give
/// the same lines to real shells, which must find the same words.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace security {

/// One command of a line: its words, and the file that takes its output.
struct simple_command {
  std::vector<std::string> words;
  std::optional<std::string> output;
};

/// The commands of a pipeline; nothing when the shell would find more in the line than words,
/// quotes, ">" and "|".
std::optional<std::vector<simple_command>> commands_of(std::string_view line);

}  // namespace security
