#ifndef ORV_SUPPORT_TOOL_ENVIRONMENT_H
#define ORV_SUPPORT_TOOL_ENVIRONMENT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::support {

/// The caller's environment with the locale "C", so that tool output never depends on it.
class tool_environment {
 public:
  tool_environment();
  tool_environment(const tool_environment&) = delete;
  tool_environment& operator=(const tool_environment&) = delete;

  /// Becomes what dash, and bash as "sh", give to their commands when they are started with it: the
  /// working directory added. (bash counts itself in SHLVL, names the command in "_", and drops an
  /// OLDPWD that is no folder; here they stay the caller's.) @return false when a shell would make
  /// more of it, such as of a name that is none
  bool pass_through_shell();

  char* const* variables() const { return variables_.data(); }

  /// Once it has passed, the path of the program that a command's first word names; empty: there is
  /// none. (What it names may turn out to be no program, and a shell may then look further.)
  std::string program_path(const std::string& word) const;

 private:
  /// The value of a variable, once all have plain names; nothing when there is none of this name.
  std::optional<std::string_view> value_of(std::string_view name) const;
  bool has_plain_names() const;
  bool set_working_directory();

  std::string working_directory_;
  std::vector<char*> variables_;  ///< ended by NULL
};

}  // namespace orv::support

#endif
