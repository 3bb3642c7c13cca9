// The tools that the library runs print on the caller's standard output. The library calls the
// command runner of the support library by its documented name, so that another one can stand in
// its place; within this module that is the one below, which differs in where the output goes. The
// descriptor of the process stays as it is: other threads print meanwhile.

#include <dlfcn.h>
#include <orv/support.h>

#include <string>

namespace {

using runner = int (*)(const char*);

/// The support library's own, which is found behind this module.
runner support_runner() {
  static const auto found = reinterpret_cast<runner>(dlsym(RTLD_NEXT, "_Z13liborv_systemPKc"));
  return found;
}

}  // namespace

__attribute__((visibility("default"))) int liborv_system(const char* cmd) {
  if (cmd == nullptr) return support_runner()(nullptr);
  // A command that sends its output to a file still does.
  const std::string quiet = std::string("exec > /dev/null; ") + cmd;
  return support_runner()(quiet.c_str());
}
