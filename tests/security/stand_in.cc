#include "tests/security/stand_in.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <orv/support.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace security {
namespace {

shell_stand_in* current = nullptr;

template <class result, class... parameters>
result real(result (*)(parameters...), const char* symbol, parameters... values) {
  const auto function = reinterpret_cast<result (*)(parameters...)>(dlsym(RTLD_NEXT, symbol));
  return function(values...);
}

/// As the shell does: made anew with the mode of a new file, or emptied and kept.
int write_output(const std::string& path, const std::string& text) {
  constexpr int failed = 1 << 8;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) return failed;
  const bool whole = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(file);
  return whole ? 0 : failed;
}

}  // namespace

shell_stand_in::shell_stand_in(answer answers) : answers_(std::move(answers)) { current = this; }

shell_stand_in::~shell_stand_in() { current = nullptr; }

std::vector<run_line> shell_stand_in::take_runs() { return std::exchange(runs_, {}); }

std::vector<std::string> shell_stand_in::take_log() { return std::exchange(log_, {}); }

int shell_stand_in::run(const char* line) {
  run_line& noted = runs_.emplace_back();
  noted.text = line;
  noted.commands = commands_of(line).value_or(std::vector<simple_command>());
  int status = 0;
  for (const simple_command& command : noted.commands) {
    const std::string said = answers_(command.words);
    if (command.output) status = write_output(*command.output, said);
  }
  return status;
}

}  // namespace security

using security::current;

// The places where the library leaves the process; its shared objects find these before the real
// ones.

// The label gives it the name of liborv_system, which its header would hide.
extern "C" __attribute__((visibility("default"))) int own_liborv_system(const char* line) asm(
    "_Z13liborv_systemPKc");
extern "C" int own_liborv_system(const char* line) {
  if (current != nullptr) return current->run(line);
  return security::real(&own_liborv_system, "_Z13liborv_systemPKc", line);
}

extern "C" __attribute__((visibility("default"))) int system(const char* line) {
  return current != nullptr ? current->run(line) : security::real(&system, "system", line);
}

extern "C" __attribute__((visibility("default"))) int own_sethostname(
    const char* name, size_t size) asm("sethostname");
extern "C" int own_sethostname(const char* name, size_t size) {
  return current != nullptr ? 0 : security::real(&own_sethostname, "sethostname", name, size);
}

extern "C" __attribute__((visibility("default"))) void syslog(int priority, const char* form, ...) {
  va_list values;
  va_start(values, form);
  char* text = nullptr;
  if (current == nullptr) {
    vsyslog(priority, form, values);
  } else if (vasprintf(&text, form, values) >= 0) {
    current->log(text);
    std::free(text);
  }
  va_end(values);
}
