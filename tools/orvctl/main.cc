#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <ext/stdio_filebuf.h>

#include <clocale>
#include <cstdio>
#include <iostream>

#include "tools/orvctl/run.h"
#include "tools/orvctl/state_colour.h"

namespace {

// A program that was started without one of the standard descriptors must not hand its number to a
// data file.
void fill_standard_descriptors() {
  int opened = 0;
  do {
    opened = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  } while (opened >= 0 && opened <= STDERR_FILENO);
  if (opened >= 0) ::close(opened);
}

// The library and its tools print diagnostics on standard output. From here on they go to standard
// error, and only the returned descriptor leads to the data's reader.
int keep_standard_output_for_data() {
  const int data = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  return data;
}

}  // namespace

int main(int argc, char** argv) {
  ::prctl(PR_SET_DUMPABLE, 0);              // a core could hold a password; tools may leave theirs
  std::setvbuf(stdin, nullptr, _IONBF, 0);  // nor is one to stay in a buffer
  std::setlocale(LC_CTYPE, "");
  fill_standard_descriptors();
  const bool is_terminal = ::isatty(STDOUT_FILENO) == 1;
  const int data_descriptor = keep_standard_output_for_data();
  __gnu_cxx::stdio_filebuf<char> data(data_descriptor, std::ios::out);
  std::ostream out(&data);
  const bool coloured = is_terminal && orvctl::wants_colours();
  const int terminal = ::isatty(STDIN_FILENO) == 1 ? STDIN_FILENO : -1;
  const bool interactive = terminal >= 0 && ::isatty(STDERR_FILENO) == 1;
  return orvctl::run(
      argc, argv,
      {std::cin, out, std::cerr, interactive, terminal, coloured,
       is_terminal ? data_descriptor : -1, ::isatty(STDERR_FILENO) == 1 ? STDERR_FILENO : -1});
}
