#include <cstring>

#include "tests/share/share_machine.h"

class getline_test : public share_test {
 protected:
  /// Reads lines of a text with a buffer that is filled with "?"; each as "RESULT:BUFFER", the
  /// buffer up to its terminator.
  sandbox::lines lines_of(const std::string& text, int size, int count) {
    machine.file("/lines", text);
    const open_file file("/lines");
    sandbox::lines all;
    for (int i = 0; i < count; ++i) {
      char buffer[16] = "???????????????";
      const int result = getline(file.number(), buffer, size);
      all.push_back(std::to_string(result) + ':' + buffer);
    }
    return all;
  }
};

using testing::ElementsAre;

TEST_F(getline_test, gives_positions_plus_one_and_zero_at_the_end) {
  EXPECT_THAT(lines_of("ab\n\nc\n", 10, 4), ElementsAre("3:ab", "1:", "2:c", "0:???????????????"));
}

TEST_F(getline_test, goes_on_when_it_is_interrupted) {
  machine.fail("read", EINTR, 2);
  EXPECT_THAT(lines_of("ab\nc\n", 10, 2), ElementsAre("3:ab", "2:c"));
}

TEST_F(getline_test, loses_what_was_read_of_a_last_line_without_end) {
  EXPECT_THAT(lines_of("ab\ncd", 10, 2), ElementsAre("3:ab", "0:cd?????????????"));
}

TEST_F(getline_test, ends_a_line_at_nul_form_feed_and_control_z) {
  EXPECT_THAT(lines_of(std::string("a\0b\fc\x1a"
                                   "d\n",
                                   8),
                       10, 4),
              ElementsAre("2:a", "3:b\f", "3:c\x1a", "2:d"));
}

TEST_F(getline_test, leaves_the_byte_at_a_carriage_return_as_it_was) {
  EXPECT_THAT(lines_of("a\r\nb\rc\n", 10, 2), ElementsAre("3:a?", "4:b?c"));
}

TEST_F(getline_test, ends_a_line_of_exactly_the_size_behind_it) {
  EXPECT_THAT(lines_of("abc\nd\n", 3, 3), ElementsAre("4:abc", "1:", "2:d"));
  EXPECT_THAT(lines_of("abcd\n", 3, 2), ElementsAre("4:abc", "2:d"));
}

TEST_F(getline_test, of_no_size_is_an_empty_line_and_reads_nothing) {
  EXPECT_THAT(lines_of("ab\n", 0, 2), ElementsAre("1:", "1:"));
  EXPECT_THAT(lines_of("ab\n", -5, 1), ElementsAre("1:"));
}

TEST_F(getline_test, leaves_what_follows_in_the_file) {
  machine.file("/lines", "ab\ncd\n");
  const open_file file("/lines");
  char buffer[16];
  getline(file.number(), buffer, 10);
  EXPECT_EQ(lseek(file.number(), 0, SEEK_CUR), 3);
}

TEST_F(getline_test, gives_minus_one_on_a_read_error_or_without_a_buffer) {
  char buffer[16] = "";
  EXPECT_EQ(getline(-1, buffer, 10), -1);
  EXPECT_EQ(getline(0, nullptr, 10), -1);
}
