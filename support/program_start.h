#ifndef ORV_SUPPORT_PROGRAM_START_H
#define ORV_SUPPORT_PROGRAM_START_H

#include <sys/types.h>

namespace orv::support {

/// A program as this process starts it: with no input, the caller's output and no other descriptor,
/// no signal blocked, and the signals that tools rely on in their default state.
struct program_start {
  const char* path;
  char* const* words;            ///< the program's name and its arguments; ends with nullptr
  char* const* variables;        ///< its environment; ends with nullptr
  const char* output = nullptr;  ///< file that its output goes to; nullptr: where the caller's goes
  bool leads_group = false;      ///< it leads a process group of its own
};

/// Starts a program. @return its process number; -1: it does not run, and `errno` says why
pid_t start_program(const program_start& how);

}  // namespace orv::support

#endif
