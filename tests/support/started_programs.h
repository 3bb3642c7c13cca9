#ifndef ORV_TESTS_SUPPORT_STARTED_PROGRAMS_H
#define ORV_TESTS_SUPPORT_STARTED_PROGRAMS_H

#include <string>
#include <vector>

/// The programs that the support library starts, seen where it asks the C library for one.
namespace started_programs {

/// What was asked for since the last `forget`.
std::vector<std::string> all();
/// How many of these became programs.
int running();
/// How many processes the C library's `clone` was asked for.
int clones();
void forget();

/// While an object of this type lives "/bin/sh" is a link to this shell of "/usr/bin".
class shell_is {
 public:
  explicit shell_is(const std::string& name);
  ~shell_is();
  shell_is(const shell_is&) = delete;
  shell_is& operator=(const shell_is&) = delete;
};

/// While an object of this type lives no program is found: nothing is run.
class none_is_found {
 public:
  none_is_found();
  ~none_is_found();
  none_is_found(const none_is_found&) = delete;
  none_is_found& operator=(const none_is_found&) = delete;
};

}  // namespace started_programs

#endif
