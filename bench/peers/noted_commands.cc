// Stands before the support library's function that runs a command line, and notes each line in the
// file COMMANDS_TO: what a shell script would have to run to do the same.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

extern "C" int noted_system(const char* line) asm("_Z13liborv_systemPKc");
extern "C" int noted_system(const char* line) {
  using runner = int (*)(const char*);
  static const auto run = reinterpret_cast<runner>(dlsym(RTLD_NEXT, "_Z13liborv_systemPKc"));
  if (std::FILE* const commands = std::fopen(std::getenv("COMMANDS_TO"), "ae")) {
    std::fprintf(commands, "%s\n", line);
    std::fclose(commands);
  }
  return run(line);
}
