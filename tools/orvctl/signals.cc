#include "tools/orvctl/signals.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tools/orvctl/library_calls.h"

namespace orvctl {
namespace {

volatile sig_atomic_t came = 0;
finishing_first* change = nullptr;

void note(int signal) { came = signal; }

void say(const char* text) { static_cast<void>(!::write(STDERR_FILENO, text, std::strlen(text))); }

/// The signal ends the program when this returns, since its action is the default again.
void tell(int signal) {
  const char* command = running_command();
  say("\norvctl: ended in the midst of a change");
  if (*command != '\0') say(", at: ");
  say(command);
  say("\n  What to do: see 'orvctl status' for what is there now\n");
  ::raise(signal);
}

/// A signal that the caller wants to be ignored stays ignored.
template <std::size_t count>
void handle(const std::array<int, count>& signals, std::array<struct sigaction, count>& former,
            void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  for (std::size_t i = 0; i < count; ++i) {
    ::sigaction(signals[i], &action, &former[i]);
    if (former[i].sa_handler == SIG_IGN) ::sigaction(signals[i], &former[i], nullptr);
  }
}

template <std::size_t count>
void put_back(const std::array<int, count>& signals,
              const std::array<struct sigaction, count>& former) {
  for (std::size_t i = 0; i < count; ++i) ::sigaction(signals[i], &former[i], nullptr);
}

sigset_t of_terminal() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGHUP);
  return set;
}

}  // namespace

ending_cleanly::ending_cleanly() {
  came = 0;
  handle(ending, former_, note, static_cast<int>(SA_RESETHAND));
}

ending_cleanly::~ending_cleanly() {
  put_back(ending, former_);
  if (came != 0) ::raise(came);
}

bool ending_cleanly::is_asked_for() { return came != 0; }

finishing_first::finishing_first() {
  begin();
  change = this;
}

finishing_first::~finishing_first() {
  change = nullptr;
  end();
}

// What is blocked and ignored stays pending for this process, but not for the tools: they start
// with nothing blocked, and with ignored signals ignored.
void finishing_first::begin() {
  const sigset_t terminal = of_terminal();
  ::pthread_sigmask(SIG_BLOCK, &terminal, &former_mask_);
  handle(ignored, former_ignored_, SIG_IGN, 0);
  handle(told, former_told_, tell, static_cast<int>(SA_RESETHAND));
  signals_ = ::signalfd(-1, &terminal, SFD_CLOEXEC | SFD_NONBLOCK);
  stop_ = ::eventfd(0, EFD_CLOEXEC);
  answering_ = std::thread([this] { answer(); });
}

void finishing_first::end() {
  const std::uint64_t one = 1;
  static_cast<void>(!::write(stop_, &one, sizeof one));
  answering_.join();
  ::close(signals_);
  ::close(stop_);
  put_back(told, former_told_);
  // Ignored until nothing is pending any more: what came has been answered.
  ::pthread_sigmask(SIG_SETMASK, &former_mask_, nullptr);
  put_back(ignored, former_ignored_);
}

void finishing_first::answer() const {
  pollfd events[] = {{signals_, POLLIN, 0}, {stop_, POLLIN, 0}};
  while (::poll(events, 2, -1) >= 0 || errno == EINTR) {
    signalfd_siginfo got{};
    if (::read(signals_, &got, sizeof got) == static_cast<ssize_t>(sizeof got)) {
      say("\norvctl: the change has begun and is finished first (Ctrl-\\ ends it where it is)\n");
    }
    if ((events[1].revents & POLLIN) != 0) return;
  }
}

interruptible::interruptible() {
  if (change != nullptr) change->end();
}

interruptible::~interruptible() {
  if (change != nullptr) change->begin();
}

}  // namespace orvctl
