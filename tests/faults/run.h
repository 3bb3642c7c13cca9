/// One call of a function under one fault, and what became of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "allocations.h"
#include "call_watch.h"
#include "subject.h"

namespace faults {

/// What fails in one run.
struct fault {
  std::string text;  // for people: "ENOSPC from write 12 on"
  call_fault call{};
  allocation_fault allocation{};
  int tool = -1;
  std::string misbehaviour{};
};

struct outcome {
  long result = 0;
  std::string thrown;  // what the function let out
  std::string told;    // what it printed, and its list or text
  std::vector<std::string> commands;
  std::vector<std::string> tools;
  std::vector<std::string> tools_of_a_shell;  // those of them that a shell started
  files before;
  std::vector<files> steps;  // the files while the function ran, before each tool
  files after;
  std::vector<system_call> calls;
  long allocations = 0;
  std::vector<std::string> held;  // descriptors, locks
  std::size_t unreleased = 0;
};

outcome run(const subject& called, const fault& failing, bool with_steps = false);

/// What of an outcome is not as it must be. `good` is the outcome without a fault.
std::vector<std::string> findings(const subject& called, const fault& failing, const outcome& good,
                                  const outcome& got);

}  // namespace faults
