// The machine's /bin/sh: writes down the command text it was given, then becomes the program that
// it names, or bash where more than a program and a "> FILE" is in it. Bash traces what it runs,
// which shows commands that no tool stands for (see toolbox.cc).
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "records.h"
#include "support/plain_command.h"

namespace {

const char* command_text(int argc, char** argv) {
  if (argc < 3 || std::strcmp(argv[1], "-c") != 0) return nullptr;
  const bool marked = argc > 3 && std::strcmp(argv[2], "--") == 0;
  return argv[marked ? 3 : 2];
}

// A program alone takes the place of the shell; one whose output goes to a file is a process of its
// own, whose end by a signal becomes an exit status. Both as bash does, only that starting bash
// costs more than all else that a fake tool does. Returns when something is missing: bash says
// what.
void run_plain(const orv::support::plain_command& line) {
  std::vector<char*> words;
  for (const auto& word : line.words) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  if (line.output.empty()) {
    ::execvp(words[0], words.data());
    return;
  }
  posix_spawn_file_actions_t output;
  ::posix_spawn_file_actions_init(&output);
  ::posix_spawn_file_actions_addopen(&output, STDOUT_FILENO, line.output.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0666);
  pid_t child = 0;
  if (::posix_spawnp(&child, words[0], &output, nullptr, words.data(), environ) != 0) return;
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  std::exit(WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status));
}

// A high number, out of the way of the numbers that a command may use itself.
bool open_trace() {
  const int file = ::open(sandbox::trace_file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  const int high = ::fcntl(file, F_DUPFD, 200);
  if (high < 0) return false;
  ::setenv("BASH_XTRACEFD", std::to_string(high).c_str(), 1);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const char* text = command_text(argc, argv);
  if (text != nullptr && !sandbox::append_record(sandbox::commands_file, {text})) {
    std::perror(sandbox::commands_file);
    return 125;
  }
  ::setenv(sandbox::noted_name, "", 1);
  const auto plain = orv::support::plain_command_of(text == nullptr ? "" : text);
  if (plain) run_plain(*plain);
  if (!open_trace()) {
    std::perror(sandbox::trace_file);
    return 125;
  }
  ::setenv(sandbox::miss_handler_name, sandbox::miss_handler, 1);
  std::vector<char*> arguments = {argv[0], const_cast<char*>("-x")};
  arguments.insert(arguments.end(), argv + 1, argv + argc + 1);
  ::execv((std::string(sandbox::programs_directory) + "/bash").c_str(), arguments.data());
  std::perror("bash");
  return 125;
}
