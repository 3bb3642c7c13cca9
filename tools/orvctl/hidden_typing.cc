#include "tools/orvctl/hidden_typing.h"

#include <cstddef>

namespace orvctl {
namespace {

// What a signal finds; there is one terminal.
int watched_terminal = -1;
termios shown_typing;

// The signal ends the program when this returns, since its action is the former one again.
void show_typing(int signal) {
  ::tcsetattr(watched_terminal, TCSANOW, &shown_typing);
  ::raise(signal);
}

}  // namespace

hidden_typing::hidden_typing(int terminal) {
  if (terminal < 0 || ::tcgetattr(terminal, &shown_typing) != 0) return;
  watched_terminal = terminal;
  watch_signals();
  termios hiding = shown_typing;
  hiding.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  ::tcsetattr(terminal, TCSADRAIN, &hiding);
  hidden_ = true;
}

hidden_typing::~hidden_typing() {
  if (!hidden_) return;
  ::tcsetattr(watched_terminal, TCSADRAIN, &shown_typing);
  forget_signals();
}

void hidden_typing::watch_signals() {
  struct sigaction watching {};
  watching.sa_handler = show_typing;
  watching.sa_flags = static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < ending.size(); ++i) {
    ::sigaction(ending[i], &watching, &former_[i]);
    if (former_[i].sa_handler == SIG_IGN) ::sigaction(ending[i], &former_[i], nullptr);
  }
}

void hidden_typing::forget_signals() {
  for (std::size_t i = 0; i < ending.size(); ++i) ::sigaction(ending[i], &former_[i], nullptr);
}

}  // namespace orvctl
