#include <orv/support.h>

#include <cerrno>
#include <memory>
#include <vector>

#include "tests/sandbox/sandbox.h"

namespace {

struct close_stream {
  void operator()(FILE* stream) const { std::fclose(stream); }
};

std::unique_ptr<FILE, close_stream> text_stream(const std::string& text) {
  FILE* const stream = std::tmpfile();
  std::fwrite(text.data(), 1, text.size(), stream);
  std::rewind(stream);
  return std::unique_ptr<FILE, close_stream>(stream);
}

/// One call of a line reader, with a buffer that holds "before".
std::string line_of(int (*reader)(FILE*, const char*, int, const char*, char*, int),
                    const std::string& text, const char* key, int n, const char* separators) {
  char buffer[32] = "before";
  const int result = reader(text_stream(text).get(), key, n, separators, buffer, sizeof buffer);
  return result == 0 ? buffer : "none:" + std::string(buffer);
}

const std::string detail =
    "/dev/md0:\n"
    "        Raid Level : raid5\n"
    "             State : clean\n"
    "      State extra : 1\n"
    "   State : second\n"
    "last";

}  // namespace

class captured_lines : public sandbox_test {};

TEST(fgetline, returns_lines_without_their_ends_and_then_minus_one) {
  const auto stream = text_stream("one\n\nthree");
  char buffer[16];
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 3);
  EXPECT_STREQ(buffer, "one");
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 5);
  EXPECT_STREQ(buffer, "three");
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), -1);
}

TEST(fgetline, returns_the_rest_of_a_long_line_next) {
  const auto stream = text_stream("abcdef\nfit\nx\n");
  char buffer[4];
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 3);
  EXPECT_STREQ(buffer, "abc");
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 3);
  EXPECT_STREQ(buffer, "def");
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 3);  // and no empty line after it
  EXPECT_STREQ(buffer, "fit");
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 1);
  EXPECT_STREQ(buffer, "x");
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), -1);
}

TEST(fgetline, reports_errors_below_minus_one) {
  char buffer[4] = "abc";
  EXPECT_LT(fgetline(nullptr, buffer, sizeof buffer), -1);
  const auto stream = text_stream("x\n");
  EXPECT_LT(fgetline(stream.get(), nullptr, 4), -1);
  EXPECT_LT(fgetline(stream.get(), buffer, 1), -1);
}

TEST(fgetline, tells_why_it_cannot_read) {
  const std::unique_ptr<FILE, close_stream> directory(std::fopen("/", "r"));
  char buffer[4] = "";
  errno = 0;
  EXPECT_EQ(fgetline(directory.get(), buffer, sizeof buffer), -2);
  EXPECT_EQ(errno, EISDIR);
}

TEST(fgetline, keeps_errno_at_the_end_of_the_file) {
  const auto stream = text_stream("x\n");
  char buffer[4] = "";
  errno = ENOSPC;
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), 1);
  EXPECT_EQ(fgetline(stream.get(), buffer, sizeof buffer), -1);
  EXPECT_EQ(errno, ENOSPC);
}

TEST(get_line_from_file, takes_the_numbered_line_without_a_key) {
  EXPECT_EQ(line_of(get_line_from_file, "1234 567\n", nullptr, 0, nullptr), "1234 567");
  EXPECT_EQ(line_of(get_line_from_file, detail, nullptr, 5, nullptr), "last");
  EXPECT_EQ(line_of(get_line_from_file, detail, nullptr, 6, nullptr), "none:before");
  EXPECT_EQ(line_of(get_line_from_file, "", nullptr, 0, nullptr), "none:before");
  EXPECT_EQ(line_of(get_line_from_file, "\nb\n", nullptr, 0, nullptr), "");
}

TEST(get_line_from_file, takes_the_nth_line_whose_trimmed_first_field_is_the_key) {
  EXPECT_EQ(line_of(get_line_from_file, detail, "State", 0, ":"), "             State : clean");
  EXPECT_EQ(line_of(get_line_from_file, detail, "State", 1, ":"), "   State : second");
  EXPECT_EQ(line_of(get_line_from_file, detail, "State", 2, ":"), "none:before");
  EXPECT_EQ(line_of(get_line_from_file, detail, "Raid", 0, ":"), "none:before");
  EXPECT_EQ(line_of(get_line_from_file, detail, "last", 0, ":"), "last");
  EXPECT_EQ(line_of(get_line_from_file, "a b\n", "a b", 0, nullptr), "a b");
}

TEST(get_line_from_file, scans_from_the_start_every_time) {
  const auto stream = text_stream("a\nb\n");
  char buffer[8];
  EXPECT_EQ(get_line_from_file(stream.get(), nullptr, 1, nullptr, buffer, sizeof buffer), 0);
  EXPECT_EQ(get_line_from_file(stream.get(), nullptr, 0, nullptr, buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "a");
}

TEST(get_line_from_file, counts_a_long_line_as_one_and_cuts_it) {
  const std::string text = std::string(100000, 'x') + "\nnext\n";
  EXPECT_EQ(line_of(get_line_from_file, text, nullptr, 0, nullptr), std::string(31, 'x'));
  EXPECT_EQ(line_of(get_line_from_file, text, nullptr, 1, nullptr), "next");
}

TEST(get_line_from_file, refuses_unusable_arguments) {
  char buffer[8] = "before";
  const auto stream = text_stream("a\n");
  EXPECT_NE(get_line_from_file(nullptr, nullptr, 0, nullptr, buffer, 8), 0);
  EXPECT_NE(get_line_from_file(stream.get(), nullptr, -1, nullptr, buffer, 8), 0);
  EXPECT_NE(get_line_from_file(stream.get(), nullptr, 0, nullptr, nullptr, 8), 0);
  EXPECT_NE(get_line_from_file(stream.get(), nullptr, 0, nullptr, buffer, 0), 0);
  EXPECT_STREQ(buffer, "before");
  EXPECT_EQ(get_line_from_file(stream.get(), nullptr, 0, nullptr, buffer, 1), 0);
  EXPECT_STREQ(buffer, "");
}

TEST(get_line_from_file, fails_below_minus_one_when_the_file_cannot_be_read) {
  const std::unique_ptr<FILE, close_stream> directory(std::fopen("/", "r"));
  char buffer[8] = "before";
  EXPECT_LT(get_line_from_file(directory.get(), nullptr, 0, nullptr, buffer, 8), -1);
  EXPECT_LT(get_line_from_file_end(directory.get(), nullptr, 0, nullptr, buffer, 8), -1);
  EXPECT_STREQ(buffer, "before");
}

TEST_F(captured_lines, are_found_by_the_key_that_mdadm_indents) {
  const auto value = [](const char* situation, const char* key) {
    const auto stream = text_stream(fixture("mdadm_detail/" + std::string(situation) + ".txt"));
    char line[256] = "none";
    get_line_from_file(stream.get(), key, 0, ":", line, sizeof line);
    return std::string(ltrimstr(rtrimstr(line)));
  };
  EXPECT_EQ(value("raid5_degraded_failed", "Raid Level"), "Raid Level : raid5");
  EXPECT_EQ(value("raid5_degraded_failed", "State"), "State : clean, degraded");
  EXPECT_EQ(value("raid5_degraded_failed", "Array Size"),
            "Array Size : 608256 (594.00 MiB 622.85 MB)");
  EXPECT_EQ(value("raid5_degraded_failed", "Device Size"), "none");  // "Used Dev Size" is another
  EXPECT_EQ(value("missing_device", "State"), "none");
}

TEST_F(captured_lines, are_read_by_number_until_there_is_none) {
  const auto stream = text_stream(fixture("proc/partitions.txt"));
  std::vector<std::string> names;
  char line[64];
  for (int n = 2; get_line_from_file(stream.get(), nullptr, n, nullptr, line, sizeof line) == 0;
       ++n) {
    char* name = nullptr;
    ASSERT_NE(get_substr_from_line(line, sizeof line, " ", 3, &name), 0) << line;
    names.emplace_back(name);
  }
  EXPECT_THAT(names, testing::ElementsAre("vda", "vdb", "sda", "sdb", "sdc", "sdd", "sde", "sdf",
                                          "sdg", "sdh", "sdi", "sdj", "md0", "dm-0", "dm-2"));
}

TEST(get_line_from_file, keeps_errno_when_there_is_no_such_line) {
  const auto stream = text_stream(detail);
  char buffer[8] = "";
  errno = ENOSPC;
  EXPECT_EQ(get_line_from_file(stream.get(), "Missing", 0, ":", buffer, 8), -1);
  EXPECT_EQ(get_line_from_file_end(stream.get(), "Missing", 0, ":", buffer, 8), -1);
  EXPECT_EQ(errno, ENOSPC);
}

TEST(get_line_from_file_end, counts_matches_from_the_end) {
  EXPECT_EQ(line_of(get_line_from_file_end, detail, "State", 0, ":"), "   State : second");
  EXPECT_EQ(line_of(get_line_from_file_end, detail, "State", 1, ":"), "             State : clean");
  EXPECT_EQ(line_of(get_line_from_file_end, detail, "State", 2, ":"), "none:before");
  EXPECT_EQ(line_of(get_line_from_file_end, detail, nullptr, 0, nullptr), "last");
  EXPECT_EQ(line_of(get_line_from_file_end, detail, nullptr, 5, nullptr), "/dev/md0:");
  EXPECT_EQ(line_of(get_line_from_file_end, "", nullptr, 0, nullptr), "none:before");
}

/// A stream in which seeking fails, for this reason.
static FILE* stream_without_seek(int& reason) {
  cookie_io_functions_t functions{};
  functions.read = [](void*, char* out, std::size_t size) {
    return static_cast<ssize_t>(std::string("key: text\n").copy(out, size));
  };
  functions.seek = [](void* told, off64_t*, int) {
    errno = *static_cast<int*>(told);
    return -1;
  };
  return fopencookie(&reason, "r", functions);
}

TEST(get_line_from_file, fails_where_it_cannot_go_back_to_the_beginning) {
  int reason = EIO;
  const std::unique_ptr<FILE, close_stream> stream(stream_without_seek(reason));
  char line[32] = "before";
  for (const auto reader : {get_line_from_file, get_line_from_file_end}) {
    errno = 0;
    EXPECT_EQ(reader(stream.get(), "key", 0, ":", line, sizeof line), -2);
    EXPECT_EQ(errno, EIO);
    EXPECT_STREQ(line, "before");
  }
}

TEST(get_line_from_file, reads_on_in_what_has_no_places) {
  int reason = ESPIPE;
  const std::unique_ptr<FILE, close_stream> stream(stream_without_seek(reason));
  char line[32] = "before";
  errno = 0;
  EXPECT_EQ(get_line_from_file(stream.get(), "key", 1, ":", line, sizeof line), 0);
  EXPECT_EQ(errno, 0);
  EXPECT_STREQ(line, "key: text");
}
