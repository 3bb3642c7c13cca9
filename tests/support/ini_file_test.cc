#include <orv/support.h>

#include <cerrno>

#include "tests/sandbox/sandbox.h"

class ini_file : public sandbox_test {
 protected:
  static constexpr const char* path = "/etc/state.conf";

  std::string value(const char* section, const char* key) {
    char by_value[32] = "before";
    char by_key[32] = "before";
    const int result = ini_value_get(by_value, path, section, key, sizeof by_value);
    EXPECT_EQ(ini_key_get(path, section, key, by_key, sizeof by_key), result);
    EXPECT_STREQ(by_value, by_key);
    return result == 0 ? by_value : "none:" + std::string(by_value);
  }
};

TEST_F(ini_file, value_is_found_in_its_section) {
  machine.file(path, "key=outside\n[one]\nkey=1\n[two]\nkey = 2 and 3 \nother=x=y\n");
  EXPECT_EQ(value("one", "key"), "1");
  EXPECT_EQ(value("two", "key"), "2 and 3");
  EXPECT_EQ(value("two", "other"), "x=y");
  EXPECT_EQ(value("one", "other"), "none:before");
  EXPECT_EQ(value("three", "key"), "none:before");
}

TEST_F(ini_file, first_section_and_first_key_win) {
  machine.file(path, "[s]\nk=1\nk=2\n[t]\n[s]\nk=3\nlate=4\n");
  EXPECT_EQ(value("s", "k"), "1");
  EXPECT_EQ(value("s", "late"), "none:before");
}

TEST_F(ini_file, may_have_blanks_carriage_returns_and_comments) {
  machine.file(path, "  [ misc ] \r\n#temp=1\r\n;temp=2\r\n\r\n temp(cpu)\t=\t49 \r\n empty=\r\n");
  EXPECT_EQ(value("misc", "temp(cpu)"), "49");
  EXPECT_EQ(value("misc", "temp"), "none:before");
  EXPECT_EQ(value("misc", "#temp"), "none:before");
  EXPECT_EQ(value("misc", "empty"), "");
}

TEST_F(ini_file, value_is_cut_to_the_buffer) {
  machine.file(path, "[s]\nk=0123456789\n");
  char buffer[4] = "old";
  EXPECT_EQ(ini_value_get(buffer, path, "s", "k", sizeof buffer), 0);
  EXPECT_STREQ(buffer, "012");
  EXPECT_NE(ini_value_get(buffer, path, "s", "k", 0), 0);
  EXPECT_NE(ini_value_get(nullptr, path, "s", "k", 4), 0);
  EXPECT_STREQ(buffer, "012");
}

TEST_F(ini_file, that_is_missing_or_strange_gives_nothing) {
  EXPECT_EQ(value("s", "k"), "none:before");
  EXPECT_EQ(value(nullptr, nullptr), "none:before");
  machine.file(path, "[s\nk" + std::string(100000, 'x') + "\n[s]k=1\nk=" + std::string("\0\1", 2));
  EXPECT_EQ(value("s", "j"), "none:before");
  char buffer[8] = "before";
  EXPECT_NE(ini_value_get(buffer, nullptr, "s", "k", 8), 0);
  machine.directory("/etc/folder");
  EXPECT_NE(ini_value_get(buffer, "/etc/folder", "s", "k", 8), 0);
  EXPECT_STREQ(buffer, "before");
}

TEST_F(ini_file, tells_why_it_cannot_be_read) {
  char buffer[8] = "";
  EXPECT_NE(ini_value_get(buffer, path, "s", "k", 8), 0);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_NE(ini_key_get(path, "s", "k", buffer, 8), 0);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_LT(txt_line_seek(path, "[", 1, buffer, 8), 0);
  EXPECT_EQ(errno, ENOENT);
  machine.file(path, "[s]\n");
  errno = ENOSPC;  // of the caller's last failure: a lookup that finds nothing does not clear it
  EXPECT_NE(ini_value_get(buffer, path, "s", "k", 8), 0);
  EXPECT_NE(ini_key_get(path, "s", "k", buffer, 8), 0);
  EXPECT_LT(txt_line_seek(path, "[", 2, buffer, 8), 0);
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(ini_file, that_cannot_be_read_behind_its_section_head_leaves_the_buffer) {
  machine.file(path, "[s]\nk=v\n");
  for (const bool by_key : {false, true}) {
    char buffer[8] = "before";
    machine.fail("getline", EIO, 2);
    errno = 0;
    EXPECT_NE(
        by_key ? ini_key_get(path, "s", "k", buffer, 8) : ini_value_get(buffer, path, "s", "k", 8),
        0);
    EXPECT_EQ(errno, EIO);
    EXPECT_STREQ(buffer, "before");
  }
}

TEST_F(ini_file, section_heads_are_walked_by_number) {
  machine.file(path, "x\n[one]\n [indented]\n[two] tail\n[open\r\n");
  const auto head = [](int n) {
    char buffer[35] = "before";
    return txt_line_seek(path, "[", n, buffer, sizeof buffer) >= 0 ? buffer
                                                                   : "none:" + std::string(buffer);
  };
  EXPECT_EQ(head(1), "one");
  EXPECT_EQ(head(2), "two");
  EXPECT_EQ(head(3), "open");
  EXPECT_EQ(head(4), "none:before");
  EXPECT_EQ(head(0), "none:before");
}

TEST_F(ini_file, heads_are_cut_to_the_buffer_and_missing_files_have_none) {
  machine.file(path, "[" + std::string(50, 'n') + "]\n");
  char buffer[35] = "";
  EXPECT_GE(txt_line_seek(path, "[", 1, buffer, sizeof buffer), 0);
  EXPECT_EQ(buffer, std::string(34, 'n'));
  EXPECT_LT(txt_line_seek(path, "[", 1, buffer, 0), 0);
  EXPECT_LT(txt_line_seek("/etc/none", "[", 1, buffer, sizeof buffer), 0);
  EXPECT_LT(txt_line_seek(path, "[", 1, nullptr, 35), 0);
}
