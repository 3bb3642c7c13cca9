/// What the benchmarks and the tools of their machine agree on.
#pragma once

#include <string>

namespace bench {

/// How a canned answer is called: the words of the command line, the tool without its folder.
inline std::string canned_name(std::string command_line) {
  const std::size_t end = command_line.find(' ');
  const std::size_t slash = command_line.rfind('/', end);
  if (slash != std::string::npos) command_line.erase(0, slash + 1);
  for (char& c : command_line) {
    if (c == ' ') c = '_';
    if (c == '/') c = '.';
  }
  return command_line;
}

/// The variable of the environment that is "real" when the tools take their time.
inline constexpr char pace_variable[] = "ORV_BENCH_PACE";
/// The variable that tells how many volume groups there are, which is what the LVM tools read.
inline constexpr char groups_variable[] = "ORV_BENCH_GROUPS";

}  // namespace bench
