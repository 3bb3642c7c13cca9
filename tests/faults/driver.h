/// Drives one function against every fault, each in a machine of its own.
#pragma once

#include <string>
#include <vector>

#include "subject.h"

namespace faults {

/// What a function was driven against.
struct tally {
  int system_calls = 0;  // on the way to success
  int allocations = 0;
  int tools = 0;
  int faults = 0;
  std::vector<std::string> findings;
};

/// How many of a function's faults are tried.
enum class thoroughness {
  some,  // spread over all of them; the fewer, the more tools a call runs, which is what takes time
  all,
};

tally drive(const subject& driven, thoroughness wanted);

}  // namespace faults
