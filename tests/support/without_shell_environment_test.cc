// What tools find in their environment, with a shell and without one.
#include <algorithm>
#include <sstream>
#include <vector>

#include "tests/support/without_shell.h"

namespace {

class tool_environment : public without_shell {
 protected:
  /// Replaces the caller's environment until the end of the test.
  void environment(std::vector<std::string> texts) {
    texts_ = std::move(texts);
    pointers_.clear();
    for (std::string& text : texts_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
    environ = pointers_.data();
  }
  ~tool_environment() override { environ = former_; }

  /// A shell sorts variables in a way of its own: not the order counts.
  std::string seen_by_tool(const std::string& line) const {
    const outcome made = run(line);
    std::vector<std::string> lines;
    std::istringstream text(made.output);
    for (std::string each; std::getline(text, each);)
      if (!is_bash() || !is_of_bash(each)) lines.push_back(each);
    std::sort(lines.begin(), lines.end());
    std::string sorted = std::to_string(made.status) + made.errors;
    for (const std::string& each : lines) sorted += '\n' + each;
    return sorted;
  }
  void is_the_same_without_shell() const { compare("/usr/bin/env"); }
  void needs_the_shell() const { compare("/bin/sh"); }

  const std::string path_ = "PATH=/usr/bin:/bin";
  const std::string here_ = "PWD=" + fs::current_path().string();

 private:
  /// What it says of itself and of the command.
  static bool is_of_bash(const std::string& variable) {
    return variable.starts_with("SHLVL=") || variable.starts_with("_=");
  }

  void compare(const std::string& program) const {
    const std::string by_shell = seen_by_tool("/usr/bin/env\n");
    EXPECT_EQ(seen_by_tool("/usr/bin/env"), by_shell);
    EXPECT_EQ(started_programs::all().at(0), program);
  }

  char** former_ = environ;
  std::vector<std::string> texts_;
  std::vector<char*> pointers_;
};

INSTANTIATE_TEST_SUITE_P(of, tool_environment, testing::Values("dash", "bash"), by_name);

TEST_P(tool_environment, is_the_callers_with_the_locale_c) {
  is_the_same_without_shell();
  environment({"LANG=de_DE.UTF-8", path_, here_, "LC_ALL=de_DE", "A=", "B==", "_=x", "x_1=\n\t ",
               "ENV=/nowhere", "HOME=/", "OLDPWD=/tmp", "MAIL=/tmp", "TERM=dumb", "CDPATH=/",
               "HISTSIZE=1", "LC_ALLE=1"});
  is_the_same_without_shell();
  EXPECT_NE(seen_by_tool("/usr/bin/env").find("\nLC_ALL=C\n"), std::string::npos);
}

TEST_P(tool_environment, has_the_working_directory) {
  fs::create_directory_symlink("../work", "link");
  for (const std::string& directory :
       {"PWD=" + (fs::current_path() / "link").string(), std::string("PWD=."), std::string("PWD=/"),
        std::string("PWD=/nowhere"), std::string("PWD=")}) {
    environment({directory, path_});
    is_the_same_without_shell();
  }
  for (const std::string longer : {"/../work", "/./", "/", "//../work", "/."}) {
    environment({here_ + longer, path_});
    needs_the_shell();
  }
  environment({path_});
  is_the_same_without_shell();
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove("../gone");
  needs_the_shell();
  environment({path_, here_ + "/gone"});
  needs_the_shell();
  fs::current_path("/");
}

TEST_P(tool_environment, is_left_to_the_shell_where_it_would_change_it) {
  for (const std::string variable : {"IFS=:",
                                     "OPTIND=2",
                                     "OPTIND=x",
                                     "PPID=7",
                                     "LINENO=7",
                                     "a.b=1",
                                     "BASH_VERSION=1",
                                     "BASHPID=1",
                                     "COMP_WORDBREAKS=:",
                                     "DIRSTACK=1",
                                     "EUID=1",
                                     "FUNCNAME=1",
                                     "GROUPS=1",
                                     "HISTCMD=1",
                                     "HOSTTYPE=1",
                                     "MACHTYPE=1",
                                     "OPTERR=1",
                                     "OSTYPE=1",
                                     "PIPESTATUS=1",
                                     "POSIXLY_CORRECT=1",
                                     "PS1=1",
                                     "PS2=1",
                                     "PS4=1",
                                     "SECONDS=1",
                                     "SHELLOPTS=nounset",
                                     "UID=1",
                                     "1a=1",
                                     "BASH_FUNC_x%%=() {",
                                     "\xc3\xa4=1",
                                     "=1",
                                     "no_value",
                                     "",
                                     "A=1",
                                     "PATH=/bin",
                                     "PWD=/"}) {
    environment({path_, here_, "A=2", variable});
    needs_the_shell();
  }
  // Their values are others each time.
  for (const std::string variable :
       {"EPOCHREALTIME=1", "EPOCHSECONDS=1", "RANDOM=1", "SRANDOM=1"}) {
    environment({path_, here_, variable});
    run("/usr/bin/env");
    EXPECT_EQ(started_programs::all().at(0), "/bin/sh") << variable;
  }
}

TEST_P(tool_environment, says_where_tools_are) {
  script("tool", "#!/bin/sh\necho here\n");
  fs::create_directory("first");
  fs::create_directory("second");
  fs::create_directory("first/in_second");
  script("first/tool", "#!/bin/sh\necho not to be run\n", 0644);
  script("second/tool", "#!/bin/sh\necho second $0\n");
  script("second/in_second", "#!/bin/sh\necho second $0\n");
  script("no_folder", "");
  for (const std::string folders :
       {":/usr/bin", "/usr/bin:", "/usr/bin::/bin", ".:/usr/bin", "first:second",
        "/nowhere:first:second:", "second:first", "no_folder:second", ""}) {
    environment({"PATH=" + folders, here_});
    needs_no_shell("tool > out");
  }
  environment({"PATH=/nowhere", here_});
  is_left_to_the_shell("tool > out");
  environment({"PATH=second:first", here_});
  needs_no_shell("in_second > out");
  environment({"PATH=first:second", here_});
  is_left_to_the_shell("in_second > out");  // which passes over a folder of this name
  for (const std::string odd : {"A=1", "PATH=/usr/bin%func:second", "PATH=%builtin:/usr/bin"}) {
    environment({odd, here_});
    needs_a_shell("tool");
  }
}

}  // namespace
