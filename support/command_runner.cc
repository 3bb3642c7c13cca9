#include <orv/support.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "support/limited_wait.h"
#include "support/plain_command.h"
#include "support/program_start.h"
#include "support/signals.h"
#include "support/tool_environment.h"

using orv::support::ending;
using orv::support::plain_command;
using orv::support::plain_command_of;
using orv::support::set_of;
using orv::support::signals_blocked;
using orv::support::start_program;
using orv::support::tool_environment;

namespace {

constexpr char shell_path[] = "/bin/sh";
constexpr int shell_not_found = 127 << 8;
constexpr int no_status = -1;

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return no_status;
  }
  return status;
}

/// Starts a program and waits for it. Nothing when it cannot be started, and `errno` says why.
/// The words are not copied: one may hold a password.
/// @param output  file that its output goes to; nullptr: where the caller's goes
std::optional<ending> run_program(const char* path, const std::vector<const char*>& words,
                                  const char* output, const tool_environment& environment,
                                  unsigned limit) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const char* const word : words) arguments.push_back(const_cast<char*>(word));
  arguments.push_back(nullptr);
  const pid_t child = start_program({.path = path,
                                     .words = arguments.data(),
                                     .variables = environment.variables(),
                                     .output = output,
                                     .leads_group = limit != 0});
  if (child < 0) return std::nullopt;
  return limit == 0 ? ending{wait_for(child)} : orv::support::wait_at_most(child, limit);
}

ending run_shell(const char* cmd, unsigned limit) {
  const tool_environment environment;
  const auto made = run_program(shell_path, {"sh", "-c", cmd}, nullptr, environment, limit);
  if (made) return *made;
  return {errno == ENOENT || errno == EACCES ? shell_not_found : no_status};
}

enum class shell { dash, bash, other };

/// The shell, when it is one of which it is known what it adds to a plain command: nothing, as long
/// as the command runs and no signal ends it.
shell known_shell() {
  char target[32];
  const ssize_t size = readlink(shell_path, target, sizeof target);
  std::string_view name(target, size < 0 ? 0 : static_cast<std::size_t>(size));
  for (const std::string_view folder : {"/usr/bin/", "/bin/"})
    if (name.starts_with(folder)) name.remove_prefix(folder.size());
  const bool has_privileges = getuid() != geteuid() || getgid() != getegid();
  if (has_privileges) return shell::other;
  return name == "dash" ? shell::dash : name == "bash" ? shell::bash : shell::other;
}

/// A shell tells of a signal in words, and in its own exit status. bash is not there any more to do
/// so when it had no output to open for its last command.
ending tell_of_signal(shell teller, const plain_command& line, int status, unsigned limit) {
  if (teller == shell::bash && line.output.empty()) return {status};
  const std::string same_end = "sh -c 'kill -" + std::to_string(WTERMSIG(status)) + " $$'";
  return run_shell((same_end + (line.output.empty() ? "" : " > /dev/null")).c_str(), limit);
}

/// Runs a plain command as the shell would, which costs as much as the start of a short tool.
/// Nothing when only the shell itself knows what happens: it has not been run then, and the shell
/// will say what it says of a program that is missing.
std::optional<ending> run_without_shell(const char* cmd, unsigned limit) {
  const auto line = plain_command_of(cmd);
  if (!line) return std::nullopt;
  const shell instead_of = known_shell();
  tool_environment environment;
  if (instead_of == shell::other || !environment.pass_through_shell()) return std::nullopt;
  const std::string path = environment.program_path(line->words.front());
  if (path.empty()) return std::nullopt;
  std::vector<const char*> words;
  words.reserve(line->words.size());
  for (const std::string& word : line->words) words.push_back(word.c_str());
  const char* const output = line->output.empty() ? nullptr : line->output.c_str();
  const auto made = run_program(path.c_str(), words, output, environment, limit);
  if (!made || made->was_ended || made->status == no_status || !WIFSIGNALED(made->status)) {
    return made;
  }
  return tell_of_signal(instead_of, *line, made->status, limit);
}

ending run_command(const char* cmd, unsigned limit) {
  // A handler of this thread would take the child's status away.
  const signals_blocked blocked(set_of({SIGCHLD}));
  const int saved_errno = errno;
  if (const auto made = run_without_shell(cmd, limit)) return *made;
  errno = saved_errno;
  return run_shell(cmd, limit);
}

}  // namespace

int liborv_system(const char* cmd) try {
  if (cmd == nullptr) {
    errno = EINVAL;
    return no_status;
  }
  const int saved_errno = errno;
  const ending made = run_command(cmd, orv_tool_timeout());
  if (made.status != no_status && made.status != shell_not_found) errno = saved_errno;
  if (made.was_ended) errno = ETIMEDOUT;
  return made.status;
} catch (const std::bad_alloc&) {
  errno = ENOMEM;
  return no_status;
}
