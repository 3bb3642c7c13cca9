#ifndef ORV_TESTS_CRASH_TRACED_H
#define ORV_TESTS_CRASH_TRACED_H

#include <functional>

/// What a process did that ran under a tracer.
struct traced_run {
  int calls = 0;  ///< system calls, of the process and of what it forked, up to their exec
  int file_syncs = 0;
  int directory_syncs = 0;
  bool was_killed = false;
  int exit_code = -1;
};

/// Runs something in a process of its own and ends that by SIGKILL where it is about to make a
/// system call. Tools that it started run to their end.
/// @param kill_at  number of the call, from 1; 0 for never
traced_run run_traced(const std::function<int()>& act, int kill_at = 0);

#endif
