#ifndef ORV_TESTS_SUPPORT_WITHOUT_SHELL_H
#define ORV_TESTS_SUPPORT_WITHOUT_SHELL_H

#include <fcntl.h>
#include <gmock/gmock.h>
#include <orv/support.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <string_view>

#include "tests/support/started_programs.h"

namespace fs = std::filesystem;

struct outcome {
  int status;
  int reason;
  std::string output;
  std::string errors;
  std::string file;  ///< what is in "out", and its mode
  bool operator==(const outcome&) const = default;
};

inline void PrintTo(const outcome& made, std::ostream* stream) {
  *stream << "status " << made.status << ", errno " << made.reason << ", output '" << made.output
          << "', errors '" << made.errors << "', file " << made.file;
}

inline std::string text_of(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Standard output or error, going to a file meanwhile.
class diverted {
 public:
  diverted(int number, const fs::path& path) : number_(number) {
    kept_ = fcntl(number, F_DUPFD_CLOEXEC, 20);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    dup2(file, number);
    close(file);
  }
  ~diverted() {
    dup2(kept_, number_);
    close(kept_);
  }
  diverted(const diverted&) = delete;
  diverted& operator=(const diverted&) = delete;

 private:
  int number_;
  int kept_;
};

/// Runs plain command lines in a folder of its own, once as they are and once with a line end
/// behind them, which only the shell takes that the test is named by: both times the same must come
/// of them.
class without_shell : public testing::TestWithParam<const char*> {
 protected:
  without_shell() : shell_(GetParam()) {
    char name[] = "/tmp/without_shell.XXXXXX";
    folder_ = mkdtemp(name);
    former_ = fs::current_path();
    fs::create_directory(folder_ / "work");
    fs::current_path(folder_ / "work");
    setenv("PWD", fs::current_path().c_str(), 1);
  }
  ~without_shell() override {
    fs::current_path(former_);
    fs::remove_all(folder_);
  }

  void script(const std::string& name, const std::string& text, mode_t mode = 0755) const {
    std::ofstream(folder_ / "work" / name) << text;
    chmod((folder_ / "work" / name).c_str(), mode);
  }

  outcome run(const std::string& line) const {
    fs::remove("out");
    outcome made{};
    started_programs::forget();
    {
      const diverted output(STDOUT_FILENO, folder_ / "output");
      const diverted errors(STDERR_FILENO, folder_ / "errors");
      errno = ENOSPC;
      made.status = liborv_system(line.c_str());
      made.reason = errno;
    }
    made.output = text_of(folder_ / "output");
    made.errors = text_of(folder_ / "errors");
    struct stat examined {};
    const bool is_there = stat("out", &examined) == 0;
    made.file = is_there ? text_of("out") + std::to_string(examined.st_mode) : "none";
    return made;
  }

  /// @return what came of it
  outcome is_the_same(const std::string& line) const {
    const outcome by_shell = run(line + "\n");
    EXPECT_THAT(started_programs::all(), testing::ElementsAre("/bin/sh"));
    const outcome made = run(line);
    EXPECT_EQ(made, by_shell) << line;
    return made;
  }
  /// @return what came of it without a shell, which may have been asked afterwards
  outcome is_tried_without(const std::string& line) const {
    const outcome made = is_the_same(line);
    EXPECT_NE(started_programs::all().at(0), "/bin/sh") << line;
    return made;
  }
  void needs_no_shell(const std::string& line) const {
    is_tried_without(line);
    EXPECT_EQ(started_programs::all().size(), 1U) << line;
  }
  /// What was tried before the shell, if anything, was no program.
  outcome is_left_to_the_shell(const std::string& line) const {
    const outcome made = is_the_same(line);
    EXPECT_EQ(started_programs::all().back(), "/bin/sh") << line;
    EXPECT_EQ(started_programs::running(), 1) << line;
    return made;
  }
  void needs_a_shell(const std::string& line) const {
    const outcome by_shell = run(line + "\n");
    EXPECT_EQ(run(line), by_shell) << line;
    EXPECT_THAT(started_programs::all(), testing::ElementsAre("/bin/sh")) << line;
  }

  static bool is_bash() { return GetParam() == std::string_view("bash"); }

  fs::path folder_;

 private:
  started_programs::shell_is shell_;
  fs::path former_;
};

/// Names a test by its shell.
inline std::string by_name(const testing::TestParamInfo<const char*>& shell) { return shell.param; }

#endif
