#include <gtest/gtest.h>
#include <orv/support.h>

#include <string>

TEST(liborv_strncpy, cuts_to_the_buffer_and_terminates) {
  const std::string source(40, 'a');
  char buffer[33];
  EXPECT_EQ(liborv_strncpy(buffer, sizeof buffer, source.c_str()), buffer);
  EXPECT_EQ(buffer, std::string(32, 'a'));
  EXPECT_STREQ(liborv_strncpy(buffer, 1, source.c_str()), "");
  EXPECT_STREQ(liborv_strncpy(buffer, sizeof buffer, "short"), "short");
}

TEST(liborv_strncpy, writes_nothing_into_a_buffer_of_no_size) {
  char byte = 'x';
  liborv_strncpy(&byte, 0, "abc");
  liborv_strncpy(&byte, -1, "abc");
  EXPECT_EQ(byte, 'x');
  EXPECT_EQ(liborv_strncpy(nullptr, 5, "abc"), nullptr);
}

TEST(liborv_strncpy, reads_a_missing_source_as_the_empty_text_and_copes_with_overlap) {
  char buffer[8] = "abcdef";
  EXPECT_STREQ(liborv_strncpy(buffer, sizeof buffer, buffer + 2), "cdef");
  EXPECT_STREQ(liborv_strncpy(buffer, sizeof buffer, nullptr), "");
}

TEST(liborv_strncat, appends_what_fits) {
  char buffer[8] = "abc";
  EXPECT_EQ(liborv_strncat(buffer, sizeof buffer, "defghij"), buffer);
  EXPECT_STREQ(buffer, "abcdefg");
  EXPECT_STREQ(liborv_strncat(buffer, sizeof buffer, "h"), "abcdefg");
  EXPECT_STREQ(liborv_strncat(buffer, sizeof buffer, nullptr), "abcdefg");
}

TEST(liborv_strncat, terminates_a_buffer_that_is_not) {
  char buffer[4] = {'a', 'b', 'c', 'd'};
  EXPECT_STREQ(liborv_strncat(buffer, sizeof buffer, "e"), "abc");
  char byte = 'x';
  liborv_strncat(&byte, 0, "abc");
  EXPECT_EQ(byte, 'x');
}

TEST(liborv_strcmp_substr, matches_whole_elements_of_either_list) {
  EXPECT_EQ(liborv_strcmp_substr("sda,sdb", "sdb", ","), 0);
  EXPECT_EQ(liborv_strcmp_substr("sdb", "sda,sdb", ","), 0);
  EXPECT_EQ(liborv_strcmp_substr("sda,sdb", "sdc,sda", ","), 0);
  EXPECT_NE(liborv_strcmp_substr("sda,sdb", "sd", ","), 0);
  EXPECT_NE(liborv_strcmp_substr("sda", "sdab,sdc", ","), 0);
}

TEST(liborv_strcmp_substr, ignores_blanks_and_takes_any_separator) {
  EXPECT_EQ(liborv_strcmp_substr("clean, degraded , recovering", "recovering", ","), 0);
  EXPECT_EQ(liborv_strcmp_substr("clean degraded,recovering", "degraded", " ,"), 0);
  EXPECT_NE(liborv_strcmp_substr("clean degraded", "degraded", ","), 0);
}

TEST(liborv_strcmp_substr, never_matches_an_empty_element) {
  EXPECT_NE(liborv_strcmp_substr("", "", ","), 0);
  EXPECT_NE(liborv_strcmp_substr("a,,b", "c,,d", ","), 0);
  EXPECT_NE(liborv_strcmp_substr(nullptr, "a", ","), 0);
  EXPECT_NE(liborv_strcmp_substr("a", nullptr, ","), 0);
  EXPECT_EQ(liborv_strcmp_substr("a", "a", nullptr), 0);
}

TEST(clear_string, removes_the_white_space_around_the_field) {
  char text[] = " \t sda \r\n";
  EXPECT_STREQ(clear_string(text, sizeof text - 1), "sda");
  char empty[] = "   ";
  EXPECT_STREQ(clear_string(empty, 3), "");
}

TEST(clear_string, cuts_at_the_length) {
  char text[] = " abcdef";
  EXPECT_STREQ(clear_string(text, 4), "abc");
  char longer[] = "ab";
  EXPECT_STREQ(clear_string(longer, 256), "ab");
  char untouched[] = " x ";
  EXPECT_STREQ(clear_string(untouched, 0), " x ");
  EXPECT_EQ(clear_string(nullptr, 3), nullptr);
}

TEST(trimming, knows_all_white_space_and_nests) {
  char text[] = " \t\r\n\v\fword \t\r\n\v\f";
  EXPECT_EQ(rtrimstr(text), text);
  EXPECT_STREQ(text, " \t\r\n\v\fword");
  EXPECT_EQ(ltrimstr(text), text + 6);
  char blank[] = " \n";
  EXPECT_STREQ(ltrimstr(rtrimstr(blank)), "");
  EXPECT_EQ(rtrimstr(nullptr), nullptr);
  EXPECT_EQ(ltrimstr(nullptr), nullptr);
}

TEST(isdigital, accepts_decimal_digits_only) {
  EXPECT_NE(isdigital("0123456789"), 0);
  for (const char* text : {"", "12a", "-1", " 1", "1 ", "\xb2"}) EXPECT_EQ(isdigital(text), 0);
  EXPECT_EQ(isdigital(nullptr), 0);
}

TEST(key_val_split, splits_at_the_first_equals_sign) {
  char line[] = "path = /a=b";
  char* key = nullptr;
  char* value = nullptr;
  EXPECT_EQ(key_val_split(line, &key, &value), 1);
  EXPECT_STREQ(key, "path ");
  EXPECT_STREQ(value, " /a=b");
}

TEST(key_val_split, refuses_a_line_without_one) {
  char line[] = "comment";
  char* key = line + 1;
  char* value = line + 2;
  EXPECT_NE(key_val_split(line, &key, &value), 1);
  EXPECT_EQ(key, line + 1);
  EXPECT_EQ(value, line + 2);
  EXPECT_NE(key_val_split(nullptr, &key, &value), 1);
}
