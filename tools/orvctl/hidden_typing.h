#ifndef ORVCTL_HIDDEN_TYPING_H
#define ORVCTL_HIDDEN_TYPING_H

#include <signal.h>
#include <termios.h>

#include <array>

namespace orvctl {

/// While it exists, a terminal does not show what is typed. A signal that ends the program puts the
/// terminal right first.
class hidden_typing {
 public:
  /// @param terminal  its descriptor; -1 for none
  explicit hidden_typing(int terminal);
  ~hidden_typing();
  hidden_typing(const hidden_typing&) = delete;
  hidden_typing& operator=(const hidden_typing&) = delete;

 private:
  static constexpr std::array<int, 4> ending = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

  void watch_signals();
  void forget_signals();

  bool hidden_ = false;
  std::array<struct sigaction, ending.size()> former_{};
};

}  // namespace orvctl

#endif
