/// The program at a terminal: passwords are not shown while they are typed. Only questions about a
/// user that there is not are asked, since this is the real machine.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char nobody[] = "no-such-user-of-orv";

/// orvctl at a terminal of its own.
class terminal {
 public:
  /// @param redirection  what the shell does with its descriptors
  /// @param before       what it does before that
  explicit terminal(const std::string& words, const std::string& redirection = "",
                    const std::string& before = "") {
    char name[64];
    int own = -1;
    if (::openpty(&keyboard_, &own, name, nullptr, nullptr) != 0) ::abort();
    // Stays open, so that the terminal's settings outlive the program.
    screen_ = own;
    process_ = ::fork();
    if (process_ == 0) {
      ::close(keyboard_);
      ::login_tty(own);
      const std::string line = before + "exec " ORVCTL " " + words + redirection;
      ::setenv("PATH", "/none", 1);  // nothing is run, whatever goes wrong
      ::execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
      ::_exit(127);
    }
  }
  ~terminal() {
    if (process_ > 0) ::kill(process_, SIGKILL), ::waitpid(process_, nullptr, 0);
    ::close(keyboard_);
    ::close(screen_);
  }
  terminal(const terminal&) = delete;
  terminal& operator=(const terminal&) = delete;

  void type(const std::string& text) {
    EXPECT_EQ(::write(keyboard_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  void send(int signal) const { ::kill(process_, signal); }

  /// Waits until the screen shows a text after what was seen before.
  void expect(const std::string& text) {
    std::size_t found = shown_.find(text, seen_);
    while (found == std::string::npos && read_more()) found = shown_.find(text, seen_);
    ASSERT_NE(found, std::string::npos) << '"' << text << "\" is not in:\n" << shown_;
    seen_ = found + text.size();
  }

  /// Waits for the typing to be shown, or not: the program says its prompt before it hides it.
  bool shows_typing(bool wanted) {
    for (int i = 0; i < 1000 && is_shown() != wanted; ++i) ::usleep(10'000);
    return is_shown();
  }

  /// The wait status of the program, which has ended.
  int ended() {
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = -1;
    while (poll_for(0) && read_more()) {
    }
    return status;
  }

  const std::string& shown() const { return shown_; }

 private:
  bool is_shown() const {
    termios settings;
    EXPECT_EQ(::tcgetattr(screen_, &settings), 0);
    return (settings.c_lflag & ECHO) != 0;
  }

  bool poll_for(int milliseconds) const {
    pollfd output = {keyboard_, POLLIN, 0};
    return ::poll(&output, 1, milliseconds) == 1;
  }

  bool read_more() {
    char text[4096];
    if (!poll_for(20'000)) return false;
    const ssize_t got = ::read(keyboard_, text, sizeof text);
    if (got > 0) shown_.append(text, static_cast<std::size_t>(got));
    return got > 0;
  }

  int keyboard_ = -1;
  int screen_ = -1;
  pid_t process_ = -1;
  std::string shown_;
  std::size_t seen_ = 0;
};

TEST(program_at_a_terminal, does_not_show_a_password) {
  terminal one(std::string("user check ") + nobody);
  one.expect(std::string("Password of ") + nobody + ": ");
  EXPECT_FALSE(one.shows_typing(false));
  one.type("hidden rose\n");
  one.expect("(-12001)");
  EXPECT_EQ(WEXITSTATUS(one.ended()), 3);
  EXPECT_TRUE(one.shows_typing(true));
  EXPECT_THAT(one.shown(), Not(HasSubstr("rose")));
}

TEST(program_at_a_terminal, asks_for_a_new_password_twice) {
  terminal one(std::string("user add ") + nobody);
  one.expect(std::string("New password of ") + nobody + ": ");
  EXPECT_FALSE(one.shows_typing(false));
  one.type("hidden rose\n");
  one.expect("The same again: ");
  EXPECT_FALSE(one.shows_typing(false));
  one.type("another rose\n");
  one.expect("the passwords are not the same, and so nothing was changed");
  EXPECT_EQ(WEXITSTATUS(one.ended()), 1);
  EXPECT_TRUE(one.shows_typing(true));
  EXPECT_THAT(one.shown(), Not(HasSubstr("rose")));
}

TEST(program_at_a_terminal, hides_a_password_also_when_messages_go_elsewhere) {
  terminal one(std::string("user check ") + nobody, " 2> /dev/null");
  EXPECT_FALSE(one.shows_typing(false));
  one.type("hidden rose\n");
  EXPECT_EQ(WEXITSTATUS(one.ended()), 3);
  EXPECT_TRUE(one.shows_typing(true));
  EXPECT_THAT(one.shown(), Not(HasSubstr("rose")));
}

TEST(program_at_a_terminal, shows_typing_again_when_a_signal_ends_it) {
  terminal one(std::string("user check ") + nobody);
  one.expect(": ");
  EXPECT_FALSE(one.shows_typing(false));
  one.type("hidden\x03");
  const int status = one.ended();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_TRUE(one.shows_typing(true));
}

TEST(program_at_a_terminal, ends_when_no_password_is_typed) {
  terminal one(std::string("user check ") + nobody);
  one.expect(": ");
  EXPECT_FALSE(one.shows_typing(false));
  one.type("\x04");
  one.expect("no password was given");
  EXPECT_EQ(WEXITSTATUS(one.ended()), 1);
  EXPECT_TRUE(one.shows_typing(true));
}

TEST(program_at_a_terminal, reads_a_password_on_after_a_stop) {
  terminal one(std::string("user check ") + nobody);
  one.expect(": ");
  EXPECT_FALSE(one.shows_typing(false));
  one.type("hidden ");
  for (const int signal : {SIGSTOP, SIGCONT, SIGWINCH}) one.send(signal);
  one.type("rose\n");
  one.expect("(-12001)");
  EXPECT_EQ(WEXITSTATUS(one.ended()), 3);
  EXPECT_THAT(one.shown(), Not(HasSubstr("rose")));
}

/// A folder of its own for what a process leaves where it runs.
class empty_folder {
 public:
  ~empty_folder() { std::filesystem::remove_all(path_); }
  const std::string& path() const { return path_; }
  bool is_empty() const { return std::filesystem::is_empty(path_); }

 private:
  static std::string made() {
    char path[] = "/tmp/orvctl-core-XXXXXX";
    return ::mkdtemp(path) == nullptr ? ::abort(), "" : path;
  }
  std::string path_ = made();
};

TEST(program_at_a_terminal, leaves_no_core_with_a_password) {
  const empty_folder folder;
  // A sanitizer would switch cores off itself.
  const std::string before = "cd " + folder.path() +
                             " && ulimit -c unlimited && export "
                             "ASAN_OPTIONS=disable_coredump=0:$ASAN_OPTIONS && ";
  const int usual = std::system((before + "kill -ABRT $$").c_str());
  if (!WIFSIGNALED(usual) || !WCOREDUMP(usual)) GTEST_SKIP() << "this machine writes no cores";
  for (const auto& core : std::filesystem::directory_iterator(folder.path())) {
    std::filesystem::remove(core.path());
  }
  terminal one(std::string("user add ") + nobody, "", before);
  one.expect(": ");
  one.type("hidden rose\n");
  one.expect("The same again: ");
  one.send(SIGABRT);
  const int status = one.ended();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGABRT);
  EXPECT_FALSE(WCOREDUMP(status));
  EXPECT_TRUE(folder.is_empty());
}

TEST(program_at_a_terminal, asks_before_it_goes_on) {
  terminal one("power off");
  one.expect("The machine is powered off.");
  one.expect("Continue? [y/N] ");
  EXPECT_TRUE(one.shows_typing(true));
  one.type("n\n");
  one.expect("not confirmed, and so nothing was changed");
  EXPECT_EQ(WEXITSTATUS(one.ended()), 1);
}

}  // namespace
