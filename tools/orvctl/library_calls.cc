#include "tools/orvctl/library_calls.h"

#include <dlfcn.h>
#include <orv/support.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <utility>

#include "tools/orvctl/rehearsal.h"

namespace orvctl {
namespace {

library_calls* asked = nullptr;
std::atomic<const char*> command_line = "";
std::function<void()> due;
std::string ended;

// Of a command line that sets a password, all but the tool that it goes to.
const char* without_secret(const char* line) {
  const bool has_password = line != nullptr && std::string_view(line).starts_with("echo ");
  return has_password ? "smbpasswd" : line;
}

/// Calls the function that this program's own one hides.
template <class result, class... parameters, class... arguments>
result hidden(result (*)(parameters...), const char* symbol, arguments... values) {
  const auto found = reinterpret_cast<result (*)(parameters...)>(::dlsym(RTLD_NEXT, symbol));
  return found(values...);
}

/// The library leaves the caller's `errno` alone, but for a command that failed by the limit.
int run_noting_the_limit(int (*own)(const char*), const char* symbol, const char* line) {
  const int before = std::exchange(errno, 0);
  const int status = hidden(own, symbol, line);
  if (status > 0 && errno == ETIMEDOUT && ended.empty()) ended = without_secret(line);
  if (errno == 0) errno = before;
  return status;
}

int run_command(int (*own)(const char*), const char* symbol, const char* line) {
  if (asked != nullptr && line != nullptr) {
    if (const std::optional<int> status = asked->command(line)) return *status;
  }
  if (due && line != nullptr && !only_asks(line)) std::exchange(due, nullptr)();
  command_line = without_secret(line);
  const int status = run_noting_the_limit(own, symbol, line);
  command_line = "";
  return status;
}

bool noted(const std::string& what) { return asked != nullptr && asked->call(what); }

std::string local_time(std::time_t when) {
  char text[32] = "";
  std::tm local{};
  if (::localtime_r(&when, &local) != nullptr) {
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  }
  return text;
}

}  // namespace

void replace_library_calls(library_calls* calls) { asked = calls; }

void before_next_change(std::function<void()> call) { due = std::move(call); }

const std::string& ended_command() { return ended; }

void set_ended_command(const std::string& line) { ended = line; }

const char* running_command() { return command_line; }

}  // namespace orvctl

// A definition that the libraries find before the one it hides. The label keeps it clear of the
// headers, which differ in what they declare noexcept. Tests may have definitions of their own.
#define DEFINE(result, name, symbol, ...)                 \
  extern "C" __attribute__((visibility("default"), weak)) \
  result own_##name(__VA_ARGS__) asm(symbol);             \
  extern "C" result own_##name(__VA_ARGS__)

DEFINE(int, liborv_system, "_Z13liborv_systemPKc", const char* line) {
  return orvctl::run_command(own_liborv_system, "_Z13liborv_systemPKc", line);
}

// Arrays are created by the C library's.
DEFINE(int, system, "system", const char* line) {
  return orvctl::run_command(own_system, "system", line);
}

DEFINE(int, conf_save, "_Z9conf_savePKc", const char* path) {
  if (path != nullptr && orvctl::noted(std::string("keep a copy of ") + path)) return 0;
  return orvctl::hidden(own_conf_save, "_Z9conf_savePKc", path);
}

DEFINE(int, settimeofday, "settimeofday", const timeval* time, const void* zone) {
  if (time != nullptr && orvctl::noted("set the clock to " + orvctl::local_time(time->tv_sec))) {
    return 0;
  }
  return orvctl::hidden(own_settimeofday, "settimeofday", time, zone);
}

DEFINE(int, sethostname, "sethostname", const char* name, size_t length) {
  if (orvctl::noted("set the host name to " + std::string(name, length))) return 0;
  return orvctl::hidden(own_sethostname, "sethostname", name, length);
}
