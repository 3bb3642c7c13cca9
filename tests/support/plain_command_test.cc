// Which command lines need no shell, told by the program that is asked for first. No program is
// found here, so nothing is run.
#include <gmock/gmock.h>
#include <orv/support.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <string>

#include "tests/support/started_programs.h"

using testing::Contains;
using testing::ElementsAre;

namespace {

constexpr char shell[] = "/bin/sh";

class plain_command : public testing::Test {
 protected:
  static std::vector<std::string> asked_for(const std::string& line) {
    const started_programs::none_is_found nothing_runs;
    started_programs::forget();
    EXPECT_EQ(liborv_system(line.c_str()), 127 << 8) << line;
    return started_programs::all();
  }
  static void is_run_by_the_shell(const std::string& line) {
    EXPECT_THAT(asked_for(line), ElementsAre(shell)) << line;
  }
  /// The shell comes second: it says what it says of a program that is missing.
  static void is_run_without(const std::string& line, const std::string& program) {
    EXPECT_THAT(asked_for(line), ElementsAre(program, shell)) << line;
  }
};

std::string output_of(const std::string& line) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(line.c_str(), "r"), pclose);
  std::string text;
  for (int c = 0; (c = getc(pipe.get())) != EOF;) text += static_cast<char>(c);
  return text;
}

/// Every run of characters in the shell's own file that could be one of its words.
std::set<std::string> texts_of(const std::string& program) {
  std::ifstream file(program, std::ios::binary);
  std::set<std::string> texts;
  std::string text;
  for (const char c : std::string(std::istreambuf_iterator<char>(file), {})) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_') {
      text += c;
    } else {
      if (text.size() > 1 && text.size() < 12) texts.insert(text);
      text.clear();
    }
  }
  return texts;
}

TEST_F(plain_command, is_every_line_that_gets_something) {
  for (const char* const line :
       {"cat /proc/mdstat > /tmp/mdstat.aB3dEf", "netstat -t > /tmp/netstat.000000",
        "smbstatus > /tmp/smb_status.aaaaaa", "ps aux > /tmp/nas_sys.aaaaaa"}) {
    const std::string text(line);
    is_run_without(text, text.substr(0, text.find(' ')));
  }
  is_run_without("/sbin/mdadm --detail /dev/md0 > /tmp/md0.aaaaaa", "/sbin/mdadm");
  is_run_without("/sbin/lvdisplay -c > /tmp/lvdisplay.aaaaaa ", "/sbin/lvdisplay");
  is_run_without("/bin/busybox pidof smbd > /tmp/smb_status.aaaaaa", "/bin/busybox");
  is_run_without(
      "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/sda > /tmp/s.aaaaaa",
      "/usr/local/sbin/smartctl");
}

TEST_F(plain_command, is_every_line_of_words_that_changes_something) {
  is_run_without("chattr  +i /mnt/pool > /dev/null", "chattr");
  is_run_without("mkfs.reiserfs -f /dev/vg/pool > /dev/null", "mkfs.reiserfs");
  is_run_without("/sbin/mdadm -C  /dev/md0 -l 5 -n 3 -R /dev/sda /dev/sdb missing > /dev/null",
                 "/sbin/mdadm");
  is_run_without("mount -t xfs -o noatime,user=1 /dev/vg/a%b /mnt/a@b+c > /dev/null", "mount");
  is_run_without("halt", "halt");
  is_run_without("  halt  ", "halt");
}

TEST_F(plain_command, has_no_character_with_a_meaning) {
  for (int c = 1; c < 256; ++c) {
    const char each = static_cast<char>(c);
    const bool is_plain =
        isalnum(c) != 0 || std::string("_-.,/:+@%=").find(each) != std::string::npos;
    for (const std::string& line :
         {std::string("tool a") + each + "b", std::string("tool ") + each + "b",
          std::string("tool a > /tmp/a") + each + "b", std::string("tool a") + each}) {
      if (is_plain || each == ' ') continue;
      is_run_by_the_shell(line);
    }
    if (is_plain) is_run_without(std::string("tool a") + each + "b " + each, "tool");
  }
  is_run_by_the_shell("tool '/mnt/my pool'");
}

TEST_F(plain_command, has_one_redirection_of_one_form_at_its_end) {
  for (const char* const line :
       {"tool >/tmp/a", "tool> /tmp/a", "tool 2> /tmp/a", "tool >> /tmp/a", "tool < /tmp/a",
        "tool > /tmp/a b", "tool > /tmp/a > /tmp/b", "tool >", "> /tmp/a", "> /tmp/a tool",
        "tool > /tmp/a 2>&1", "tool > /tmp/a &", "tool | tool", "tool; tool", "tool >| /tmp/a",
        "tool > > /tmp/a", "> > /tmp/a"}) {
    is_run_by_the_shell(line);
  }
}

TEST_F(plain_command, begins_with_the_name_of_a_program) {
  for (const char* const line :
       {"",      " ",       "A=1 tool", "A=1",        "=tool",     ":",      ". /tmp/a",
        "..",    "/",       "-",        "%",          "%1",        "%tool",  "-x",
        "+tool", "--posix", "1",        "0 > /tmp/a", "[ a = a ]", "{ tool", "! tool"}) {
    is_run_by_the_shell(line);
  }
  is_run_without("./tool A=1", "./tool");
  is_run_without("7z", "7z");
}

/// @return how many of its words the shell takes for its own
int own_words_of(const std::string& program, const std::function<void(const std::string&)>& take) {
  const std::set<std::string> texts = texts_of(program);
  char script[] = "/tmp/plain_command.XXXXXX";
  close(mkstemp(script));
  {
    std::ofstream questions(script);
    questions << "exec 2>&1\n";
    for (const std::string& text : texts) questions << "type " << text << '\n';
  }
  const std::string answers = '\n' + output_of(program + ' ' + script);
  std::remove(script);
  int own = 0;
  for (const std::string& text : texts) {
    for (const char* const kind : {" is a shell builtin\n", " is a special shell builtin\n",
                                   " is a shell keyword\n", " is a shell function\n"}) {
      if (answers.find('\n' + text + kind) == std::string::npos) continue;
      ++own;
      take(text);
    }
  }
  return own;
}

TEST_F(plain_command, is_nothing_that_a_shell_does_by_itself) {
  const auto is_left_to_the_shell = [](const std::string& word) {
    is_run_by_the_shell(word + " a");
    is_run_by_the_shell(word);
  };
  EXPECT_GE(own_words_of("/bin/dash", is_left_to_the_shell), 45);
  EXPECT_GE(own_words_of("/bin/bash", is_left_to_the_shell), 70);
}

}  // namespace
