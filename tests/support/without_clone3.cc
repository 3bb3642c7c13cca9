// Runs a program on a kernel that has no clone3(2), as those before 5.3, and tells it so by
// ORV_WITHOUT_CLONE3.
//
//   without_clone3 PROGRAM ARGUMENTS...
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "tests/sandbox/kernel.h"

int main(int count, char** arguments) try {
  if (count < 2) return 2;
  sandbox::refuse_clone3();
  setenv("ORV_WITHOUT_CLONE3", "1", 1);
  execv(arguments[1], arguments + 1);
  std::perror(arguments[1]);
  return 2;
} catch (const std::exception& error) {
  std::fprintf(stderr, "without_clone3: %s\n", error.what());
  return 2;
}
