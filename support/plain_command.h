#ifndef ORV_SUPPORT_PLAIN_COMMAND_H
#define ORV_SUPPORT_PLAIN_COMMAND_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::support {

/// A command line in which nothing but blanks and one last "> FILE" means anything to a shell.
struct plain_command {
  std::vector<std::string> words;  ///< a program and its arguments
  std::string output;              ///< the FILE; empty when there is none
};

/// Takes a command line apart as a shell would. @return nothing when it is not plain, or when the
/// shell does by itself what its first word says
std::optional<plain_command> plain_command_of(std::string_view line);

}  // namespace orv::support

#endif
