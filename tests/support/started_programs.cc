#include "tests/support/started_programs.h"

#include <dlfcn.h>
#include <spawn.h>

#include <cerrno>

namespace {

std::vector<std::string> programs;
bool are_there = true;

}  // namespace

namespace started_programs {

std::vector<std::string> all() { return programs; }
void forget() { programs.clear(); }

none_is_found::none_is_found() { are_there = false; }
none_is_found::~none_is_found() { are_there = true; }

}  // namespace started_programs

extern "C" __attribute__((visibility("default"))) int posix_spawnp(
    pid_t* child, const char* program, const posix_spawn_file_actions_t* actions,
    const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
  static auto* const real =
      reinterpret_cast<decltype(&posix_spawnp)>(dlsym(RTLD_NEXT, "posix_spawnp"));
  programs.emplace_back(program);
  return are_there ? real(child, program, actions, attributes, arguments, environment) : ENOENT;
}
