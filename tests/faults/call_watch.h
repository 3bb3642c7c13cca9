/// Watches the system calls that one thread makes through the C library, and makes chosen ones
/// fail.
///
/// The library under test uses stdio, mount tables, directories and processes, whose system calls
/// are made inside the C library where no wrapper function reaches them. So the kernel is asked: a
/// seccomp filter hands every call that comes from the C library's code, or from the one place of
/// ours that asks the kernel itself, to a thread of ours, which lets it through or answers in the
/// kernel's place. The tools that the library runs inherit the
/// filter, but are programs of other code, and run untouched.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace faults {

/// One watched call: what it is, and how it can fail.
struct system_call {
  long number = -1;
  std::string text;         // "openat /etc/exports", "read behind openat /etc/exports"
  std::vector<int> errors;  // of EIO, ENOSPC, EINTR, EMFILE, ENOMEM those that it can give
};

/// Stands at the end of the text of a call that prints.
inline constexpr char to_standard_output[] = " to standard output";
/// What a new process does before it becomes its tool.
inline constexpr char by_the_child[] = " by the child";

/// Which call fails: the one at this place, or from there on every call of its kind.
struct call_fault {
  int at = -1;
  int error = 0;
  bool for_ever = false;
};

class call_watch {
 public:
  /// @param before_each  called before every call that is let through; on another thread
  explicit call_watch(call_fault fault, std::function<void(const system_call&)> before_each = {});
  ~call_watch();
  call_watch(const call_watch&) = delete;
  call_watch& operator=(const call_watch&) = delete;

  /// Run by the thread to be watched. From here to `end` its calls are counted and may fail.
  void begin();
  void end();

  const std::vector<system_call>& calls() const { return calls_; }
  /// Descriptors whose closing was answered with an error. The kernel closes them all the same, but
  /// ours did not see the call: whoever asks closes them.
  const std::vector<int>& closed() const { return closed_; }
  /// Descriptors closed twice.
  const std::vector<int>& closed_twice() const { return closed_twice_; }

 private:
  void serve();
  void answer();
  void note_context(system_call& call);
  int error_for(const system_call& call, long first_argument, bool by_watched_thread);

  call_fault fault_;
  std::function<void(const system_call&)> before_each_;
  std::vector<system_call> calls_;
  std::string last_opened_;
  std::vector<int> closed_;
  std::vector<int> closed_twice_;
  long failing_kind_ = -1;
  int failures_ = 0;
  int error_of_clone3_ = 0;
  std::atomic<bool> counting_ = false;
  std::atomic<bool> installed_ = false;
  int listener_ = -1;
  int wake_ = -1;
  int thread_id_ = -1;
  std::thread server_;
};

}  // namespace faults
