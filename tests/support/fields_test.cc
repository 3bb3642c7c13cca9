#include <orv/support.h>
#include <pthread.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/sandbox/sandbox.h"

namespace {

std::string field_of(const std::string& line, const char* separators, int index) {
  char* field = nullptr;
  const int length = static_cast<int>(line.size());
  return get_substr_from_line(line.c_str(), length, separators, index, &field) != 0 ? field
                                                                                    : "none";
}

std::string size_of(const std::string& line, int index) {
  uint64_t value = 77;
  const int length = static_cast<int>(line.size());
  if (get_size_from_display(line.c_str(), length, ":", index, &value) == 0) {
    return std::to_string(value);
  }
  return value == 77 ? "refused" : "changed";
}

std::string text_of(const std::string& line, int index, int size = 16) {
  char buffer[16] = "before";
  const int length = static_cast<int>(line.size());
  const int result = get_str_from_display(line.c_str(), length, ":", index, buffer, size);
  return result == 0 ? buffer : "refused:" + std::string(buffer);
}

const std::string partition = "   8        0  976762584 sda";

}  // namespace

TEST(get_substr_from_line, counts_a_run_of_separators_as_one) {
  EXPECT_EQ(field_of(partition, " ", 3), "sda");
  EXPECT_EQ(field_of(partition, " ", 4), "none");
  EXPECT_EQ(field_of(partition, " ", 0), "8        0  976762584 sda");
  EXPECT_EQ(field_of("a::b", ":", 1), "b");
  EXPECT_EQ(field_of("a:b:", ":", 2), "none");
}

TEST(get_substr_from_line, does_not_cut_the_field) {
  EXPECT_EQ(field_of("tid:1 name:x", ":", 0), "tid:1 name:x");
  EXPECT_EQ(field_of("tid:1 name:x", ":", 1), "1 name:x");
}

TEST(get_substr_from_line, passes_over_the_indent_of_a_display_line) {
  EXPECT_EQ(field_of("  \t/dev/md1:vg1:5", ":", 0), "/dev/md1:vg1:5");
  EXPECT_EQ(field_of(":: a:b", ":", 0), "a:b");
}

TEST(get_substr_from_line, sees_only_the_first_bytes) {
  char* field = nullptr;
  ASSERT_NE(get_substr_from_line("ab cd ef", 5, " ", 1, &field), 0);
  EXPECT_STREQ(field, "cd");
  EXPECT_EQ(get_substr_from_line("ab cd ef", 5, " ", 2, &field), 0);
  ASSERT_NE(get_substr_from_line("ab", 100, " ", 0, &field), 0);
  EXPECT_STREQ(field, "ab");
}

TEST(get_substr_from_line, keeps_a_writable_copy_that_may_be_its_next_line) {
  const std::string line = "name:sda sdb";
  char* field = nullptr;
  ASSERT_NE(get_substr_from_line(line.c_str(), 12, ":", 1, &field), 0);
  ASSERT_NE(get_substr_from_line(field, 7, " ", 1, &field), 0);
  field[2] = 'x';
  EXPECT_STREQ(field, "sdx");
  EXPECT_EQ(line, "name:sda sdb");
}

TEST(get_substr_from_line, keeps_one_copy_per_thread) {
  char* mine = nullptr;
  ASSERT_NE(get_substr_from_line("mine", 4, ":", 0, &mine), 0);
  std::thread([] {
    char* other = nullptr;
    ASSERT_NE(get_substr_from_line("other", 5, ":", 0, &other), 0);
    EXPECT_STREQ(other, "other");
  }).join();
  EXPECT_STREQ(mine, "mine");
}

namespace {

/// What a process finds that has used up its keys before its first line, the first key with a text
/// of its own.
int result_without_a_key() {
  char own[] = "own";
  pthread_key_t key{};
  while (pthread_key_create(&key, nullptr) == 0) pthread_setspecific(key, own);
  char* field = nullptr;
  errno = 0;
  if (get_substr_from_line("a b", 3, " ", 1, &field) != 0 || field != nullptr) return 1;
  if (errno != ENOMEM) return 2;
  for (pthread_key_t any = 0; any < PTHREAD_KEYS_MAX; ++any) {
    if (pthread_getspecific(any) == own) return 0;
  }
  return 3;
}

}  // namespace

TEST(get_substr_from_line, finds_nothing_in_a_program_without_a_free_key) {
  // In a process of its own, which has read no line before.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(result_without_a_key()), testing::ExitedWithCode(0), "");
}

TEST(get_substr_from_line, refuses_what_has_no_field) {
  char* field = nullptr;
  EXPECT_EQ(field_of("", " ", 0), "none");
  EXPECT_EQ(field_of("   ", " ", 0), "none");
  EXPECT_EQ(field_of("a", " ", -1), "none");
  EXPECT_EQ(get_substr_from_line(nullptr, 5, " ", 0, &field), 0);
  EXPECT_EQ(get_substr_from_line("a", 0, " ", 0, &field), 0);
  EXPECT_EQ(get_substr_from_line("a", 1, " ", 0, nullptr), 0);
  EXPECT_EQ(field, nullptr);
  EXPECT_EQ(field_of("a b", nullptr, 0), "a b");
}

TEST(get_substr_from_line, keeps_errno_when_there_is_no_such_field) {
  errno = ENOSPC;
  EXPECT_EQ(field_of(partition, " ", 4), "none");
  EXPECT_EQ(errno, ENOSPC);
}

TEST(get_size_from_display, takes_an_all_digit_field) {
  const std::string line = "  /dev/md1:vg1:2097152:-1:8x: 9:18446744073709551615\n";
  EXPECT_EQ(size_of(line, 2), "2097152");
  EXPECT_EQ(size_of(line, 6), "18446744073709551615");  // the line end behind it is ignored
  for (const int index : {0, 3, 4, 5, 7}) EXPECT_EQ(size_of(line, index), "refused") << index;
}

TEST(get_size_from_display, refuses_what_does_not_fit) {
  EXPECT_EQ(size_of("18446744073709551616", 0), "refused");
  EXPECT_EQ(size_of("", 0), "refused");
  EXPECT_NE(get_size_from_display("1", 1, ":", 0, nullptr), 0);
}

TEST(get_size_from_display, keeps_errno_when_there_is_no_such_number) {
  for (const char* line : {"vg1", "vg1:text", "vg1:18446744073709551616"}) {
    errno = ENOSPC;
    EXPECT_EQ(size_of(line, 1), "refused") << line;
    EXPECT_EQ(errno, ENOSPC) << line;
  }
}

TEST(get_str_from_display, copies_one_field_cut_to_the_buffer) {
  const std::string line = "  vg1:0123456789abcdefghij:end\r\n";
  EXPECT_EQ(text_of(line, 0), "vg1");
  EXPECT_EQ(text_of(line, 1), "0123456789abcde");
  EXPECT_EQ(text_of(line, 2), "end");
  EXPECT_EQ(text_of(line, 3), "refused:before");
  EXPECT_EQ(text_of(line, 0, 0), "refused:before");
  EXPECT_EQ(text_of(line, 0, 1), "");
}

TEST(get_str_from_display, keeps_errno_when_there_is_no_such_field) {
  errno = ENOSPC;
  EXPECT_EQ(text_of("vg1:end", 2), "refused:before");
  EXPECT_EQ(errno, ENOSPC);
}

TEST(get_str_from_display, reads_a_captured_volume_group) {
  const std::string line = sandbox::fixture("vgdisplay/pools.txt");  // the first of its lines
  EXPECT_EQ(text_of(line, 0), "vg-two");
  EXPECT_EQ(text_of(line, 1), "r/w");
  EXPECT_EQ(text_of(line, 16), "CwnuOb-dGTB-HNA");
  EXPECT_EQ(size_of(line, 11), "20967424");
  EXPECT_EQ(size_of(line, 14), "5119");
  EXPECT_EQ(size_of(line, 3), "refused");  // -1
}

TEST(get_str_from_display, reads_a_captured_physical_volume) {
  const std::string line = sandbox::fixture("pvdisplay/pools.txt");
  EXPECT_EQ(text_of(line, 0), "/dev/sdh");
  EXPECT_EQ(text_of(line, 1), "vg-two");
  EXPECT_EQ(size_of(line, 2), "41943040");
  EXPECT_EQ(size_of(line, 10), "5119");
}
