#include "tests/disk/machine_with_disks.h"

/// The parsers of one line of the controller's disk scan.
class scan_line : public sandbox_test {
 protected:
  using parser = int (*)(const char*, char*, int);

  /// What a parser makes of a line; "-" when it finds nothing, and then the buffer is untouched.
  static std::string parsed(parser parse, const char* line) {
    char text[32] = "before";
    if (parse(line, text, sizeof text) == 0) return text;
    EXPECT_STREQ(text, "before");
    return "-";
  }
};

constexpr char whole_line[] = "3 a/ST3 500 /465 /Normal  /Hot Spare  \n";

TEST_F(scan_line, gives_each_attribute_without_trailing_blanks) {
  EXPECT_EQ(get_disk_ch(whole_line), 4);
  EXPECT_EQ(parsed(get_disk_model, whole_line), "ST3 500");
  EXPECT_EQ(get_disk_space(whole_line), 465U);
  EXPECT_EQ(parsed(get_disk_state, whole_line), "Normal");
  EXPECT_EQ(parsed(get_disk_usage, whole_line), "Hot Spare");
}

TEST_F(scan_line, is_the_same_after_the_call) {
  char line[] = "3 a/ST3 500 /465 /Normal  /Hot Spare  \n";
  char text[32];
  get_disk_ch(line);
  get_disk_model(line, text, sizeof text);
  get_disk_space(line);
  get_disk_state(line, text, sizeof text);
  get_disk_usage(line, text, sizeof text);
  EXPECT_STREQ(line, whole_line);
}

TEST_F(scan_line, begins_with_the_port_number) {
  EXPECT_EQ(get_disk_ch("0 x"), 1);
  EXPECT_EQ(get_disk_ch("  15   x"), 16);
  EXPECT_EQ(get_disk_ch("7"), 8);
  EXPECT_EQ(get_disk_ch("007 x"), 8);
  for (const char* line : {"", " ", "x", "a 1", "1a 2", "-1 x", "+1 x", "1/M/2", "===", "1\t2"}) {
    EXPECT_EQ(get_disk_ch(line), -1) << line;
  }
}

TEST_F(scan_line, port_number_that_no_channel_can_have_is_none) {
  EXPECT_EQ(get_disk_ch("2147483646 x"), 2147483647);
  EXPECT_EQ(get_disk_ch("2147483647 x"), -1);
  EXPECT_EQ(get_disk_ch("99999999999 x"), -1);
  EXPECT_EQ(get_disk_ch("99999999999999999999999 x"), -1);
}

TEST_F(scan_line, of_an_empty_bay_has_no_model) {
  EXPECT_EQ(parsed(get_disk_model, "1 a/N.A.   /0/x/y\n"), "-");
  EXPECT_EQ(parsed(get_disk_model, "1 a/N.A."), "-");
  EXPECT_EQ(parsed(get_disk_model, "1 a/N.A.1/0"), "N.A.1");
}

TEST_F(scan_line, without_the_field_gives_nothing) {
  EXPECT_EQ(parsed(get_disk_model, "1 a"), "-");
  EXPECT_EQ(get_disk_space("1 a/M"), UINT64_MAX);
  EXPECT_EQ(parsed(get_disk_state, "1 a/M/5"), "-");
  EXPECT_EQ(parsed(get_disk_usage, "1 a/M/5"), "-");
  EXPECT_EQ(parsed(get_disk_usage, "1 a/M/5\n"), "-");
  EXPECT_EQ(parsed(get_disk_usage, "1 a/M/5/S"), "-");
  EXPECT_EQ(parsed(get_disk_usage, "1 a/M/5/S/"), "-");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(scan_line, last_field_needs_no_separator_behind_it) {
  EXPECT_EQ(parsed(get_disk_model, "1 a/M"), "M");
  EXPECT_EQ(get_disk_space("1 a/M/5"), 5U);
  EXPECT_EQ(parsed(get_disk_state, "1 a/M/5/S \n"), "S");
  EXPECT_EQ(parsed(get_disk_usage, "1 a/M/5/S/U"), "U");
}

TEST_F(scan_line, usage_goes_on_to_the_line_end) {
  EXPECT_EQ(parsed(get_disk_usage, "1 a/M/5/S/Raid/Set 1 \nnext"), "Raid/Set 1");
}

TEST_F(scan_line, run_of_separators_counts_as_one) {
  EXPECT_EQ(parsed(get_disk_model, "1 a//M///5/S/U"), "M");
  EXPECT_EQ(get_disk_space("1 a//M///5/S/U"), 5U);
  EXPECT_EQ(parsed(get_disk_usage, "1 a//M///5/S/U"), "U");
}

TEST_F(scan_line, size_is_the_number_that_the_field_begins_with) {
  EXPECT_EQ(get_disk_space("1 a/M/ 465.8GB/S"), 465U);
  EXPECT_EQ(get_disk_space("1 a/M/none/S"), 0U);
  EXPECT_EQ(get_disk_space("1 a/M/18446744073709551614/S"), UINT64_MAX - 1);
  EXPECT_EQ(get_disk_space("1 a/M/99999999999999999999999/S"), UINT64_MAX);
}

TEST_F(scan_line, text_is_cut_to_the_buffer) {
  for (const parser parse : {get_disk_model, parser(get_disk_state), get_disk_usage}) {
    char text[] = "before";
    EXPECT_EQ(parse("1 a/long/5/long/long\n", text, 3), 0);
    EXPECT_STREQ(text, "lo");
    EXPECT_EQ(parse("1 a/long/5/long/long\n", text, 1), 0);
    EXPECT_STREQ(text, "");
    text[0] = 'x';
    EXPECT_EQ(parse("1 a/long/5/long/long\n", text, 0), 0);
    EXPECT_EQ(parse("1 a/long/5/long/long\n", text, -1), 0);
    EXPECT_EQ(text[0], 'x');
  }
}

TEST_F(scan_line, that_is_missing_has_no_attribute) {
  EXPECT_EQ(get_disk_ch(nullptr), -1);
  EXPECT_EQ(get_disk_space(nullptr), UINT64_MAX);
  EXPECT_EQ(parsed(get_disk_model, nullptr), "-");
  EXPECT_EQ(parsed(get_disk_state, nullptr), "-");
  EXPECT_EQ(parsed(get_disk_usage, nullptr), "-");
}

TEST_F(scan_line, needs_a_buffer) {
  EXPECT_EQ(get_disk_model(whole_line, nullptr, 32), ORV_E_FAILED);
  EXPECT_EQ(get_disk_state(whole_line, nullptr, 32), ORV_E_FAILED);
  EXPECT_EQ(get_disk_usage(whole_line, nullptr, 32), ORV_E_FAILED);
  EXPECT_EQ(machine.log(),
            "get_disk_model:N return -1 with Invalid argument\n"
            "get_disk_state:N return -1 with Invalid argument\n"
            "get_disk_usage:N return -1 with Invalid argument\n");
}
