#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

using testing::HasSubstr;

namespace {

struct ended {
  int status;
  std::string text;
};

/// Runs a shell line; only questions are asked, since this is the real machine.
ended run(const std::string& line) {
  std::FILE* output = ::popen(line.c_str(), "r");
  std::string text;
  for (int letter; (letter = std::fgetc(output)) != EOF;) text.push_back(static_cast<char>(letter));
  return {WEXITSTATUS(::pclose(output)), text};
}

const std::string orvctl = ORVCTL;

// The library prints "for errno" on standard output when there is no mount table.
class without_mount_table : public testing::Test {
 protected:
  void SetUp() override {
    if (::access("/etc/mdfstab", F_OK) == 0) GTEST_SKIP() << "this machine has a mount table";
  }
};

}  // namespace

TEST(program, writes_data_to_standard_output) {
  const ended got = run(orvctl + " system codes --json < /dev/null 2> /dev/null");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(nlohmann::json::parse(got.text)["codes"][0]["name"], "ORV_OK");
}

TEST_F(without_mount_table, sends_what_the_library_prints_to_standard_error) {
  const ended data = run(orvctl + " fs list --json < /dev/null 2> /dev/null");
  EXPECT_EQ(data.status, 1);
  EXPECT_EQ(nlohmann::json::parse(data.text)["error"]["name"], "ORV_E_FAILED");
  const ended rest = run(orvctl + " fs list --json < /dev/null 2>&1 > /dev/null");
  EXPECT_THAT(rest.text, HasSubstr("for errno '-1'\n"));
}

TEST(program, says_when_its_data_cannot_be_written) {
  const ended got = run(orvctl + " system codes 2>&1 > /dev/full < /dev/null");
  EXPECT_EQ(got.status, 1);
  EXPECT_EQ(got.text, "orvctl: standard output cannot be written\n");
}

TEST(program, ends_quietly_when_its_reader_has_seen_enough) {
  for (const std::string ignored : {"", "trap '' PIPE; "}) {
    for (const std::string words : {"system codes", "system codes --json", "metrics", "report"}) {
      const std::string late = ignored + "sleep 0.2; PATH=/none " + orvctl + " " + words;
      const ended got =
          run("{ { " + late + " 2>&3; } < /dev/null | true; } 3>&1 | grep '^orvctl:'");
      EXPECT_EQ(got.text, "") << late;
    }
  }
}

TEST(program, runs_without_standard_descriptors) {
  EXPECT_EQ(run(orvctl + " fs mounted / <&- >&- 2>&-").status, 0);
}

TEST(program, asks_nobody_without_a_terminal) {
  const ended got = run("yes | " + orvctl + " raid destroy md127 2>&1");
  EXPECT_EQ(got.status, 2);
  EXPECT_THAT(got.text, HasSubstr("there is no terminal to ask on"));
}

TEST(program, reads_a_password_from_a_pipe) {
  const std::string question = orvctl + " user check no-such-user-of-orv 2>&1";
  const ended got = run("echo 'hidden rose' | " + question);
  EXPECT_EQ(got.status, 3);
  EXPECT_THAT(got.text, HasSubstr("ORV_E_NO_USER (-12001)"));
  EXPECT_THAT(got.text, testing::Not(HasSubstr("rose")));
  EXPECT_THAT(run("printf 'hidden rose' | " + question).text, HasSubstr("(-12001)"));
  for (const std::string nothing : {" < /dev/null", " <&-"}) {
    const ended none = run(question + nothing);
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.text,
              "orvctl: user check: no password was given\n"
              "  What to do: type it, or write it to standard input as one line\n");
  }
}

TEST(program, does_not_go_down_without_a_terminal) {
  for (const std::string verb : {"off", "reboot"}) {
    const ended got = run("yes | PATH=/none " + orvctl + " power " + verb + " 2>&1");
    EXPECT_EQ(got.status, 2);
    EXPECT_THAT(got.text, HasSubstr("there is no terminal to ask on"));
  }
}

TEST(program, tries_no_change_when_it_may_make_no_copies_of_the_settings) {
  const std::string unprivileged =
      ::geteuid() == 0 ? "setpriv --bounding-set=-all --inh-caps=-all " : "";
  const ended got = run(unprivileged + orvctl + " ftp-limit set --clients 20 --dry-run 2>&1");
  EXPECT_EQ(got.status, 1);
  EXPECT_EQ(got.text,
            "orvctl: ftp-limit set: private copies of the settings cannot be made, and so nothing "
            "was tried: a mount namespace: Operation not permitted\n"
            "  What to do: run it as root\n");
}
