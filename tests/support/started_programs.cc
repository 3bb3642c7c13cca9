#include "tests/support/started_programs.h"

#include <dlfcn.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace {

constexpr std::string_view link_to_shell = "/bin/sh";

std::vector<std::string> programs;
bool are_there = true;
std::string shell;  // a name in "/usr/bin"; empty: the machine's own

}  // namespace

namespace started_programs {

std::vector<std::string> all() { return programs; }
void forget() { programs.clear(); }

shell_is::shell_is(const std::string& name) { shell = name; }
shell_is::~shell_is() { shell.clear(); }

none_is_found::none_is_found() { are_there = false; }
none_is_found::~none_is_found() { are_there = true; }

}  // namespace started_programs

extern "C" __attribute__((visibility("default"))) int posix_spawnp(
    pid_t* child, const char* program, const posix_spawn_file_actions_t* actions,
    const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
  static auto* const real =
      reinterpret_cast<decltype(&posix_spawnp)>(dlsym(RTLD_NEXT, "posix_spawnp"));
  programs.emplace_back(program);
  const std::string found =
      program == link_to_shell && !shell.empty() ? "/usr/bin/" + shell : program;
  return are_there ? real(child, found.c_str(), actions, attributes, arguments, environment)
                   : ENOENT;
}

extern "C" __attribute__((visibility("default"))) ssize_t readlink(const char* path, char* target,
                                                                   size_t size) {
  static auto* const real = reinterpret_cast<decltype(&readlink)>(dlsym(RTLD_NEXT, "readlink"));
  if (path != link_to_shell || shell.empty()) return real(path, target, size);
  return static_cast<ssize_t>(shell.copy(target, size));
}
