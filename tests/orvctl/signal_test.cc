/// Ctrl-C, a closed terminal, a broken pipe: orvctl on the fake machine, in a process and at a
/// terminal of its own.
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>
#include <ext/stdio_filebuf.h>

#include <csignal>
#include <iostream>

#include "tests/orvctl/appliance.h"
#include "tests/sandbox/jail.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// orvctl in a process that leads a session at a terminal.
class program_at_work {
 public:
  explicit program_at_work(const std::string& words) {
    keyboard_ = sandbox::open_on_host("/dev/ptmx", O_RDWR | O_NOCTTY);
    int unlocked = 0;
    ::ioctl(keyboard_, TIOCSPTLCK, &unlocked);
    const int screen = ::ioctl(keyboard_, TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (screen < 0) ::abort();
    process_ = ::fork();
    if (process_ == 0) {
      ::close(keyboard_);
      ::login_tty(screen);
      ::_exit(work(words));
    }
    ::close(screen);
  }
  ~program_at_work() {
    if (process_ > 0) ::kill(process_, SIGKILL), ::waitpid(process_, nullptr, 0);
    hang_up();
  }
  program_at_work(const program_at_work&) = delete;
  program_at_work& operator=(const program_at_work&) = delete;

  void type(const std::string& text) {
    EXPECT_EQ(::write(keyboard_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void send(int signal) { ::kill(process_, signal); }
  void hang_up() {
    if (keyboard_ >= 0) ::close(keyboard_);
    keyboard_ = -1;
  }

  void expect(const std::string& text) {
    while (shown_.find(text) == std::string::npos && read_more(20'000)) {
    }
    ASSERT_THAT(shown_, HasSubstr(text));
  }

  /// The wait status.
  int ended() {
    int status = 0;
    while (keyboard_ >= 0 && read_more(20'000)) {
    }
    for (int i = 0; i < 2000 && ::waitpid(process_, &status, WNOHANG) == 0; ++i) ::usleep(10'000);
    if (::kill(process_, SIGKILL) == 0 && ::waitpid(process_, &status, 0) == process_) {
      ADD_FAILURE() << "it goes on and on, and has shown\n" << shown_;
    }
    process_ = -1;
    return status;
  }
  const std::string& shown() const { return shown_; }

 private:
  static int work(const std::string& words) {
    for (const int signal : {SIGINT, SIGHUP, SIGTERM, SIGQUIT, SIGPIPE}) ::signal(signal, SIG_DFL);
    __gnu_cxx::stdio_filebuf<char> data(STDOUT_FILENO, std::ios::out);
    __gnu_cxx::stdio_filebuf<char> words_of_mine(STDERR_FILENO, std::ios::out);
    __gnu_cxx::stdio_filebuf<char> typed(STDIN_FILENO, std::ios::in);
    std::ostream out(&data);
    std::ostream err(&words_of_mine);
    err << std::unitbuf;
    std::istream in(&typed);
    std::vector<const char*> arguments = {"orvctl"};
    const std::vector<std::string> all = split(words);
    for (const std::string& word : all) arguments.push_back(word.c_str());
    return orvctl::run(static_cast<int>(arguments.size()), arguments.data(),
                       {in, out, err, true, STDIN_FILENO, false, STDOUT_FILENO, STDERR_FILENO});
  }

  bool read_more(int milliseconds) {
    pollfd output = {keyboard_, POLLIN, 0};
    char text[4096];
    if (::poll(&output, 1, milliseconds) != 1) return false;
    const ssize_t got = ::read(keyboard_, text, sizeof text);
    if (got > 0) shown_.append(text, static_cast<std::size_t>(got));
    return got > 0;
  }

  int keyboard_ = -1;
  pid_t process_ = -1;
  std::string shown_;
};

/// The appliance on which a file system takes its time.
class slow_change : public appliance {
 protected:
  slow_change() {
    machine.tool("/sbin/mkfs.xfs")
        .runs("echo begun > /told/begun; sleep 1; echo made > /told/made")
        .if_asked();
  }
  static constexpr char making[] = "pool mkfs vg1 data --yes";

  bool is_made() const { return machine.exists("/told/made"); }
  void wait_until_begun() {
    for (int i = 0; i < 1000 && !machine.exists("/told/begun"); ++i) ::usleep(10'000);
  }
  void wait_until_made() {
    for (int i = 0; i < 1000 && !is_made(); ++i) ::usleep(10'000);
  }
};

}  // namespace

TEST_F(slow_change, is_finished_first_after_ctrl_c) {
  program_at_work one(making);
  one.expect("Making a file system on vg1/data.");
  wait_until_begun();
  one.type("\x03");
  one.expect("the change has begun and is finished first");
  const int status = one.ended();
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_THAT(one.shown(), HasSubstr("Made a file system on vg1/data."));
  EXPECT_TRUE(is_made());
}

TEST_F(slow_change, is_finished_when_the_terminal_is_closed) {
  program_at_work one(making);
  one.expect("Making a file system on vg1/data.");
  wait_until_begun();
  one.hang_up();
  const int status = one.ended();
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(is_made());
}

TEST_F(slow_change, says_what_it_was_at_when_it_is_ended_at_once) {
  program_at_work one(making);
  one.expect("Making a file system on vg1/data.");
  wait_until_begun();
  one.send(SIGTERM);
  const int status = one.ended();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
  EXPECT_THAT(one.shown(), HasSubstr("ended in the midst of a change, at: /sbin/mkfs.xfs -f "));
  // The tool that was running is not orvctl's to end.
  wait_until_made();
  EXPECT_TRUE(is_made());
}

TEST_F(slow_change, has_not_begun_while_a_question_is_open) {
  program_at_work one("pool mkfs vg1 data");
  one.expect("Continue? [y/N] ");
  one.type("\x03");
  const int status = one.ended();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_FALSE(machine.exists("/told/begun"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(slow_change, is_finished_when_nobody_reads_what_is_said) {
  int channel[2];
  ASSERT_EQ(::pipe(channel), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGPIPE, SIG_DFL);
    ::dup2(channel[1], STDERR_FILENO);
    ::close(channel[0]);
    std::ostringstream out;
    const std::vector<const char*> words = {"orvctl", "pool", "mkfs", "vg1", "data", "--yes"};
    ::_exit(orvctl::run(static_cast<int>(words.size()), words.data(),
                        {std::cin, out, std::cerr, false}));
  }
  ::close(channel[0]);
  ::close(channel[1]);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status)) << WTERMSIG(status);
  EXPECT_TRUE(is_made());
}

TEST_F(slow_change, leaves_signals_as_they_were) {
  EXPECT_EQ(orvctl(making).status, 0);
  struct sigaction now {};
  ::sigaction(SIGINT, nullptr, &now);
  EXPECT_EQ(now.sa_handler, SIG_DFL);
  sigset_t blocked;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGINT), 0);
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

namespace {

using watch_at_a_terminal = appliance;

}  // namespace

TEST_F(watch_at_a_terminal, ends_with_ctrl_c_below_its_bars) {
  program_at_work one("raid watch md1 --interval 0.2");
  one.expect("12.6%, 48.0 MiB/s");
  one.type("\x03");
  const int status = one.ended();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  // The last line is complete but for the "^C" that the terminal shows.
  std::string shown = one.shown();
  const std::size_t typed = shown.find("^C");
  if (typed != std::string::npos) shown.erase(typed, 2);
  EXPECT_TRUE(shown.ends_with("\r\n") || shown.ends_with("\x1b[J")) << shown;
}

TEST_F(watch_at_a_terminal, ends_when_the_terminal_is_closed) {
  program_at_work one("raid watch md1 --interval 0.2");
  one.expect("12.6%");
  one.hang_up();
  const int status = one.ended();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGHUP);
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}
