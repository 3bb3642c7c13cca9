// orv-watch: a monitoring daemon. Looks at the arrays, alarms and file systems of the appliance
// every few seconds and writes a line for each change, until SIGTERM or SIGINT.
//
//     orv-watch [SECONDS]      default: 10

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "subjects.h"

namespace {

// The library and the tools that it runs print now and then. Lines of the daemon go where standard
// output led, all else goes nowhere.
FILE* keep_standard_output() {
  FILE* const kept = ::fdopen(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "w");
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (kept == nullptr || nowhere < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0) return nullptr;
  ::close(nowhere);
  std::setvbuf(kept, nullptr, _IOLBF, 0);
  return kept;
}

// Blocked, the signals that end the daemon wait until it asks for them: no change is cut short.
// The commands of the library run without a blocked signal.
sigset_t block_ending_signals() {
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGTERM);
  sigaddset(&ending, SIGINT);
  sigprocmask(SIG_BLOCK, &ending, nullptr);
  return ending;
}

// Waits for the next look. @return false when the daemon is to end
bool wait_for_next_look(const sigset_t& ending, double seconds) {
  const auto whole = static_cast<time_t>(seconds);
  const auto rest = static_cast<long>((seconds - static_cast<double>(whole)) * 1e9);
  const timespec time = {whole, rest};
  return sigtimedwait(&ending, nullptr, &time) < 0 && (errno == EAGAIN || errno == EINTR);
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc == 2 ? std::strtod(argv[1], nullptr) : 10;
  if (argc > 2 || !(seconds > 0 && seconds <= 86400)) {
    std::fputs("usage: orv-watch [SECONDS]\n", stderr);
    return 2;
  }
  const sigset_t ending = block_ending_signals();
  FILE* const lines = keep_standard_output();
  if (lines == nullptr) {
    std::perror("orv-watch");
    return 1;
  }
  const auto tell = [lines](const std::string& line) { std::fprintf(lines, "%s\n", line.c_str()); };
  std::array watches = {watch("array", read_arrays), watch("alarm", read_alarms),
                        watch("file system", read_file_systems)};
  tell("watching");
  do {
    for (watch& each : watches) each.look(tell);
  } while (wait_for_next_look(ending, seconds));
  tell("ended");
  return std::fclose(lines) == 0 ? 0 : 1;
}
