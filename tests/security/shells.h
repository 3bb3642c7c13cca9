/// What real shells make of command lines.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/security/stand_in.h"

namespace security {

/// A shell of the machine.
struct shell {
  std::string name;
  std::vector<std::string> start;  // its path and what it is called with
  bool echo_knows_e;               // as the library needs it to
};

/// The shells that an appliance may have as /bin/sh.
std::vector<shell> known_shells();

/// Lets a shell read the lines, as its own functions instead of the tools. Empty when it found the
/// words that the lines are said to have, and nothing else; else what was different.
std::string difference(const shell& reader, const std::vector<run_line>& lines);

/// What the library itself makes of the lines that it runs without a shell.
struct plain_lines {
  int count = 0;
  std::string misread;  ///< the first that has other words or another output; empty when none has
};
plain_lines read_plain(const std::vector<run_line>& lines);

}  // namespace security
