// The machine's /bin/sh: writes down the command text it was given, then becomes bash.
// Bash traces what it runs, which shows commands that no tool stands for (see toolbox.cc).
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "records.h"

namespace {

const char* command_text(int argc, char** argv) {
  if (argc < 3 || std::strcmp(argv[1], "-c") != 0) return nullptr;
  const bool marked = argc > 3 && std::strcmp(argv[2], "--") == 0;
  return argv[marked ? 3 : 2];
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
