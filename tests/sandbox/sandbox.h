/// The fake machine on which the unit tests run. README.md beside this file shows how to write a
/// test; programs/ holds what takes the place of the machine's shell and tools.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

class toolbox;
struct canned_answer;

using lines = std::vector<std::string>;

/// How a fake tool answers one command line. An answer says and does nothing and exits with 0,
/// but for what these add. They may be combined; what they do happens in the order given here.
class answer {
 public:
  answer(toolbox& box, size_t number);

  answer& takes(std::chrono::milliseconds time);
  answer& prints(std::string_view output);
  answer& complains(std::string_view errors);
  /// Bash text; $1, $2, ... are the tool's arguments, and the applets of busybox are at hand. What
  /// it prints the tool prints, and its exit code is the tool's unless fails() gives another.
  answer& runs(std::string_view script);
  answer& dies_of(int signal);
  answer& fails(int exit_code);
  answer& succeeds();

  /// Given exactly so often. Without it: at least once, and again when nothing else is left.
  answer& times(int count);
  /// May stay unasked.
  answer& if_asked();
  /// The next answer to the same arguments.
  answer& then();

 private:
  answer& save();

  toolbox& box_;
  size_t number_;
};

/// A program of the machine. It does only what the test cans: a call that no answer fits fails the
/// test, and so does an answer that nobody asked for.
class fake_tool {
 public:
  fake_tool(toolbox& box, std::string path) : box_(box), path_(std::move(path)) {}

  /// The answer to these arguments, separated by blanks. "*" and "?" match as in a shell, "XXXXXX"
  /// the random part of a temporary file's name, and "..." at the end whatever follows.
  answer& on(std::string_view arguments);
  /// The answer to exactly these arguments.
  answer& on_exactly(const lines& arguments);

  /// The answer to whatever arguments no other answer fits.
  answer& takes(std::chrono::milliseconds time) { return on("...").takes(time); }
  answer& prints(std::string_view output) { return on("...").prints(output); }
  answer& complains(std::string_view errors) { return on("...").complains(errors); }
  answer& runs(std::string_view script) { return on("...").runs(script); }
  answer& dies_of(int signal) { return on("...").dies_of(signal); }
  answer& fails(int exit_code) { return on("...").fails(exit_code); }
  answer& succeeds() { return on("..."); }

  /// The real thing, of busybox, answers what no canned answer fits: cat, mv, rm, mkdir, chmod, ...
  void is_real();
  /// There is no such program, and the code finds that out.
  void is_missing();

 private:
  toolbox& box_;
  std::string path_;
};

/// One call of a fake tool.
struct call_record {
  std::string path;   // of the tool
  lines words;        // its argument vector
  std::string input;  // standard input: "/dev/null", "pipe", "file", "socket", "device", "closed"
  std::vector<int> descriptors;  // open ones besides the three standard ones
  bool by_shell;                 // whether a shell started it, or the code itself
  std::map<std::string, std::string> environment;
};

/// One message to the system log.
struct log_record {
  int priority;       // facility | level, as in syslog(3)
  std::string ident;  // the program's name for itself
  std::string text;   // as it was sent
};

/// What statfs(2) reports.
struct disk_space {
  int64_t block_size = 4096;
  uint64_t blocks = 0;
  uint64_t available = 0;
  uint64_t reserved = 0;  // free too, but for the superuser only
};

/// A machine of the test's own: the process sees a root directory that holds only what the test
/// puts there, an empty /etc, /proc and /sys, a shell, a system log, and no tool at all. There is
/// one machine at a time; it lasts as long as this object.
///
/// In texts that come back, the random part of the name of a temporary file reads XXXXXX.
class machine {
 public:
  machine();
  ~machine();
  machine(const machine&) = delete;
  machine& operator=(const machine&) = delete;

  /// The machine's shell is one that the code may know by its name, as "dash": /bin/sh is a link of
  /// that text to the same shell as else. Nothing but PATH is in the environment any more, in which
  /// such a shell would change other things.
  void shell_is(const std::string& name);

  /// The program at this path; a name without "/" stands in /bin.
  fake_tool& tool(std::string_view path);

  // What happened so far, in order.
  /// What the shell was given; where it has a name, also what a tool was called with without it.
  lines commands() const;
  std::vector<lines> calls() const;  // argument vectors of the calls of fake tools
  std::vector<call_record> call_records() const;
  std::string log() const;  // "name:123 return" reads "name:N return", "name[123]:" "name[N]:"
  lines log_lines() const;  // the same, one message each, without their line ends
  std::vector<log_record> log_records() const;  // exactly as sent
  std::string output() const;                   // on standard output, exactly
  /// The lists above begin anew.
  void forget();

  /// A file; its directories are made. An existing one is replaced, with its mode.
  void file(const std::string& path, std::string_view text, mode_t mode = 0644);
  void directory(const std::string& path, mode_t mode = 0755);
  void link(const std::string& path, const std::string& target);
  /// A file or a whole directory; nothing when there is none.
  void remove(const std::string& path);
  std::string read(const std::string& path) const;
  bool exists(const std::string& path) const;  // a dangling link exists too
  mode_t mode(const std::string& path) const;
  lines list(const std::string& path = "/") const;  // names in a directory, sorted
  /// Whether a file can belong to anyone but root: not when an ordinary user runs the tests.
  bool knows_other_users() const;
  lines temp_files() const { return list("/tmp"); }

  /// A file system of its own; options as of mount -t tmpfs, as in "size=1m,nr_inodes=8".
  void mount_tmpfs(const std::string& path, const std::string& options = "");
  void remount_read_only(const std::string& path);
  void unmount(const std::string& path);

  /// The release that uname(2) reports; "6.1.0-test" when the test does not say.
  void kernel_release(std::string_view release);
  /// What statfs(2) reports of exactly this path.
  void statfs(const std::string& path, const disk_space& space);
  /// The kernel uses this block device: nobody else gets it for exclusive use.
  void in_use(const std::string& device);
  /// The C library's function fails with this errno: its n-th call from now on, or every one.
  /// Functions that can: fchown, fopen, fstat, fsync, gettimeofday, mkstemp, opendir, rename, stat,
  /// statfs, time, uname.
  void fail(std::string_view function, int error, int nth_call = 0);

  /// Descriptors that the code opened and still holds, as "5 /etc/hosts"; the C library's own
  /// connection to the system log does not count.
  lines open_descriptors() const;

 private:
  void tell_story() const;

  struct parts;
  std::unique_ptr<parts> parts_;
};

/// The content of a file below tests/fixtures.
std::string fixture(const std::string& name);

}  // namespace sandbox

/// Base of test fixtures: every test has its own machine.
class sandbox_test : public testing::Test {
 protected:
  static std::string fixture(const std::string& name) { return sandbox::fixture(name); }

  sandbox::machine machine;
};
