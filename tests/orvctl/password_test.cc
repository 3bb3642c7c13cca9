/// Passwords as they come from standard input: every byte, too many, none; and what of them stays
/// in the memory of the program.
#include <crypt.h>
#include <unistd.h>

#include <iostream>
#include <streambuf>

#include "tests/orvctl/command_line.h"
#include "tests/security/held_memory.h"
#include "tests/user/user_machine.h"

using testing::IsEmpty;

namespace {

constexpr char empty_one[] = "the password is empty\n  What to do: give one\n";
constexpr char none[] =
    "no password was given\n  What to do: type it, or write it to standard input as one line\n";
constexpr char with_nul[] =
    "the password holds a NUL character\n  What to do: give one without it\n";
constexpr char too_long[] =
    "the password is longer than 23 characters\n  What to do: give a shorter one\n";

/// A line that does not end.
class endless_line : public std::streambuf {
 public:
  std::size_t blocks() const { return blocks_; }

 private:
  int_type underflow() override {
    ++blocks_;
    setg(block_, block_, block_ + sizeof block_);
    return traits_type::to_int_type(*block_);
  }

  char block_[64] = {'a', 'b', 'c'};
  std::size_t blocks_ = 0;
};

}  // namespace

class password_lines : public user_test {
 protected:
  password_lines() {
    passwd("ann:x:1000:1000::/:/bin/nologin\n");
    users("ann||x\n");
  }

  static outcome piped(const std::string& words, const std::string& input) {
    return run(split(words), input, false);
  }

  /// From now on this is the password of ann.
  void set_password(const std::string& password) {
    crypt_data room{};
    const std::string hash = crypt_r(password.c_str(), "$1$somesalt", &room);
    machine.file("/etc/shadow", "ann:" + hash + ":19000:0:99999:7:::\n", 0640);
  }

  void expect_refused(const std::string& verb, const std::string& input, const std::string& why) {
    const sandbox::lines before = contents();
    const outcome got = piped("user " + verb, input);
    EXPECT_EQ(got.status, why == too_long ? 2 : 1);
    EXPECT_EQ(got.out, "");
    EXPECT_EQ(got.err, "orvctl: user " + verb.substr(0, verb.find(' ')) + ": " + why);
    EXPECT_EQ(contents(), before);
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_EQ(machine.log(), "");
  }
};

TEST_F(password_lines, may_hold_every_byte_but_nul_and_line_end) {
  std::string bytes;
  for (int byte = 1; byte <= 255; ++byte) {
    if (byte != '\n') bytes += static_cast<char>(byte);
  }
  constexpr std::size_t some = 20;
  for (std::size_t at = 0; at < bytes.size(); at += some) {
    const std::string password = bytes.substr(at, some);
    set_password(password);
    EXPECT_EQ(piped("user check ann", password + "\n").status, 0) << at;
    const std::string other = password.substr(0, password.size() - 1);
    EXPECT_EQ(piped("user check ann", other + "\n").status, 3) << at;
  }
}

TEST_F(password_lines, end_at_a_line_end_or_with_the_input) {
  set_password("rose");
  for (const std::string input : {"rose", "rose\n", "rose\n\n", "rose\nmore\n"}) {
    const outcome got = piped("user check ann", input);
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.out, "This is the password of ann.\n");
    EXPECT_EQ(got.err, "");
  }
  EXPECT_EQ(piped("user check ann", "\nrose\n").status, 3);
  EXPECT_EQ(piped("user check ann", "rose\r\n").status, 3);
}

TEST_F(password_lines, must_be_there) {
  for (const std::string verb : {"add eve", "modify ann", "check ann"}) {
    expect_refused(verb, "", none);
  }
  expect_refused("add eve", "\n", empty_one);
  expect_refused("modify ann", "\nrose\n", empty_one);
}

TEST_F(password_lines, with_a_nul_are_not_those_that_end_there) {
  set_password("rose");
  for (const std::string verb : {"add eve", "modify ann", "check ann"}) {
    for (const std::string password : {"rose?", "rose?tree", "?rose", "?"}) {
      std::string line = password;
      line[line.find('?')] = '\0';
      expect_refused(verb, line + "\n", with_nul);
    }
  }
}

TEST_F(password_lines, have_a_greatest_length) {
  for (const std::size_t size : {24UL, 1023UL, 1024UL, 1025UL, 1000000UL}) {
    expect_refused("add eve", std::string(size, 'p') + "\n", too_long);
    expect_refused("modify ann", std::string(size, 'p'), too_long);
  }
  set_password(std::string(300, 'p'));
  EXPECT_EQ(piped("user check ann", std::string(300, 'p') + "\n").status, 0);
  EXPECT_EQ(piped("user check ann", std::string(1000000, 'p') + "\n").status, 3);
}

TEST_F(password_lines, are_not_read_for_ever) {
  endless_line line;
  std::istream in(&line);
  std::ostringstream out;
  std::ostringstream err;
  const char* const words[] = {"orvctl", "user", "add", "eve"};
  EXPECT_NE(orvctl::run(4, words, {in, out, err, false}), 0);
  EXPECT_LT(line.blocks(), 100U);
}

TEST_F(password_lines, are_not_in_the_memory_of_the_program) {
  for (const char* const verb : {"add", "modify", "check"}) {
    const auto given_to_orvctl = [verb](char* password) {
      int ends[2];
      if (pipe(ends) != 0 || dup2(ends[0], STDIN_FILENO) < 0) return -1;
      const auto size = static_cast<ssize_t>(strlen(password));
      if (write(ends[1], password, static_cast<std::size_t>(size)) != size) return -1;
      explicit_bzero(password, static_cast<std::size_t>(size));
      close(ends[1]);
      std::setvbuf(stdin, nullptr, _IONBF, 0);  // as its main does
      std::ostringstream out;
      std::ostringstream err;
      const char* const words[] = {"orvctl", "user", verb, *verb == 'a' ? "eve" : "ann"};
      return orvctl::run(4, words, {std::cin, out, err, false});
    };
    const security::traces found = security::traces_of(given_to_orvctl, 23);
    EXPECT_EQ(found.result, *verb == 'c' ? 3 : 0) << verb;
    EXPECT_THAT(found.places, IsEmpty()) << verb;
  }
}
