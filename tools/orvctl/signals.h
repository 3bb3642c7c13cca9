#ifndef ORVCTL_SIGNALS_H
#define ORVCTL_SIGNALS_H

#include <signal.h>

#include <array>
#include <thread>

/// What Ctrl-C, a closed terminal and a broken pipe do to a command.

namespace orvctl {

/// While it exists, a signal that ends the program waits until the tool that runs at that moment
/// has ended and its traces are gone; the program ends when this goes. A second one does not wait.
class ending_cleanly {
 public:
  ending_cleanly();
  ~ending_cleanly();
  ending_cleanly(const ending_cleanly&) = delete;
  ending_cleanly& operator=(const ending_cleanly&) = delete;

  /// Whether a signal has come.
  static bool is_asked_for();

 private:
  static constexpr std::array<int, 3> ending = {SIGINT, SIGTERM, SIGHUP};
  std::array<struct sigaction, ending.size()> former_{};
};

/// While it exists, a change goes on whatever becomes of the terminal: Ctrl-C, a hang-up and a
/// broken pipe end neither the program nor the tools that it runs. Ctrl-C is answered by saying so.
/// SIGTERM and SIGQUIT end the program at once, which then says what it was at.
class finishing_first {
 public:
  finishing_first();
  ~finishing_first();
  finishing_first(const finishing_first&) = delete;
  finishing_first& operator=(const finishing_first&) = delete;

 private:
  friend class interruptible;
  static constexpr std::array<int, 3> ignored = {SIGINT, SIGHUP, SIGPIPE};
  static constexpr std::array<int, 2> told = {SIGTERM, SIGQUIT};

  void begin();
  void end();
  void answer() const;

  sigset_t former_mask_{};
  std::array<struct sigaction, ignored.size()> former_ignored_{};
  std::array<struct sigaction, told.size()> former_told_{};
  int signals_ = -1;
  int stop_ = -1;
  std::thread answering_;
};

/// While a question is asked, the change has not begun: signals end the program as ever.
class interruptible {
 public:
  interruptible();
  ~interruptible();
  interruptible(const interruptible&) = delete;
  interruptible& operator=(const interruptible&) = delete;
};

}  // namespace orvctl

#endif
