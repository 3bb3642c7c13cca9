#include <cerrno>

#include "tests/disk/smart_output.h"

using testing::ElementsAre;
using testing::IsEmpty;

class smart_detail : public disk_test {
 protected:
  /// The attributes of an output whose table is these lines.
  sandbox::lines read(const std::string& table) {
    machine.tool(smartctl).prints(summary_output + table);
    EXPECT_EQ(get_smart_detail(&disk), ORV_OK);
    return attributes_of(disk);
  }

  tag_disk_info& disk = add("sda", 1, "0");
};

TEST_F(smart_detail, is_seven_attributes_of_the_table) {
  EXPECT_THAT(
      read("SMART Attributes Data Structure revision number: 10\n"
           "Vendor Specific SMART Attributes with Thresholds:\n"
           "ID# ATTRIBUTE_NAME          FLAG     VALUE WORST THRESH TYPE      UPDATED  "
           "WHEN_FAILED RAW_VALUE\n"
           "  1 Raw_Read_Error_Rate     0x000f   117   099   044    Pre-fail  Always       -       "
           "123456\n"
           "  3 Spin_Up_Time            0x0003   099   098   000    Pre-fail  Always       -       "
           "0\n"
           "  4 Start_Stop_Count        0x0032   100   100   020    Old_age   Always       -       "
           "25\n"
           "  5 Reallocated_Sector_Ct   0x0033   100   100   036    Pre-fail  Always   FAILING_NOW "
           "7\n"
           "  7 Seek_Error_Rate         0x000f   060   060   030    Pre-fail  Always       -       "
           "1081427\n"
           "  9 Power_On_Hours          0x0032   099   099   000    Old_age   Always       -       "
           "920\n"
           " 10 Spin_Retry_Count        0x0013   100   100   097    Pre-fail  Always       -       "
           "0\n"
           " 11 Calibration_Retry_Count 0x0012   100   253   000    Old_age   Always   In_the_past "
           "3\n"
           "194 Temperature_Celsius     0x0022   031   040   000    Old_age   Always       -       "
           "31 (0 20 0 0)\n"),
      ElementsAre("1|Raw_Read_Error_Rate|117|99|44|1234|-", "3|Spin_Up_Time|99|98|0|0|-",
                  "5|Reallocated_Sector_Ct|100|100|36|7|FAILING_NOW",
                  "7|Seek_Error_Rate|60|60|30|1081|-", "10|Spin_Retry_Count|100|100|97|0|-",
                  "11|Calibration_Retry_Count|100|253|0|3|In_the_past",
                  "194|Temperature_Celsius|31|40|0|31|-"));
  EXPECT_THAT(machine.commands(),
              ElementsAre("/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes "
                          "/dev/sda > /tmp/smart_sda_detail.XXXXXX"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(smart_detail, is_read_from_the_present_smartctl) {
  machine.tool(smartctl).on("...").prints(fixture("smartctl/attributes.txt")).times(1);
  EXPECT_EQ(get_smart_detail(&disk), ORV_OK);
  EXPECT_THAT(attributes_of(disk),
              ElementsAre("1|Raw_Read_Error_Rate|100|100|6|0|-", "3|Spin_Up_Time|100|100|0|16|-",
                          "5|Reallocated_Sector_Ct|100|100|36|0|-"));
  machine.tool(smartctl).on("...").prints(fixture("smartctl/no_smart.txt"));
  EXPECT_EQ(get_smart_detail(&disk), ORV_OK);
  EXPECT_EQ(attributes_of(disk).size(), 3U);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(smart_detail, begins_with_line_18_of_the_output) {
  const std::string line = smartctl_line("1", "Spin_Up_Time");
  machine.tool(smartctl).on("...").prints(other_lines(17) + line).times(1);
  EXPECT_EQ(get_smart_detail(&disk), ORV_OK);
  EXPECT_THAT(attributes_of(disk), IsEmpty());
  machine.tool(smartctl).on("...").prints(other_lines(18) + line);
  EXPECT_EQ(get_smart_detail(&disk), ORV_OK);
  EXPECT_THAT(attributes_of(disk), ElementsAre("1|Spin_Up_Time|100|99|44|0|-"));
}

TEST_F(smart_detail, name_that_comes_twice_gives_two_and_seven_are_enough) {
  std::string table;
  for (int i = 0; i < 9; ++i) table += smartctl_line(std::to_string(i), "Spin_Up_Time");
  const sandbox::lines found = read(table);
  ASSERT_EQ(found.size(), 7U);
  EXPECT_EQ(found.front(), "0|Spin_Up_Time|100|99|44|0|-");
  EXPECT_EQ(found.back(), "6|Spin_Up_Time|100|99|44|0|-");
}

TEST_F(smart_detail, is_added_to_what_the_record_has) {
  append_attribute(disk.smart_list, "9");
  EXPECT_THAT(read(smartctl_line("3", "Spin_Up_Time")),
              ElementsAre("9||0|0|0|0|", "3|Spin_Up_Time|100|99|44|0|-"));
}

TEST_F(smart_detail, name_must_be_the_second_word_and_equal_as_a_whole) {
  EXPECT_THAT(read("Spin_Up_Time 3\n3 spin_up_time\n3 Spin_Up_Times\n3 4 Spin_Up_Time\n"
                   "3\tSpin_Up_Time\n3 Spin Up Time\n"),
              IsEmpty());
}

TEST_F(smart_detail, numbers_are_those_of_the_first_four_characters) {
  EXPECT_THAT(read("1000 Spin_Up_Time f 12345 -1 0x10 t u abcdefghijklmnopqr 99999999999\n"
                   "1 Seek_Error_Rate f --- 12x4 +3 t u s 12h+3m\n"),
              ElementsAre("100|Spin_Up_Time|1234|0|0|9999|abcdefghijklmno",
                          "1|Seek_Error_Rate|0|12|0|12|s"));
}

TEST_F(smart_detail, line_that_ends_early_gives_what_it_has) {
  EXPECT_THAT(read("1 Spin_Up_Time\n1 Seek_Error_Rate 0x1 100\n"
                   "1 Spin_Retry_Count 0x1 100 99 5 t u -\n  5 Temperature_Celsius"),
              ElementsAre("1|Spin_Up_Time|0|0|0|0|", "1|Seek_Error_Rate|100|0|0|0|",
                          "1|Spin_Retry_Count|100|99|5|0|-", "5|Temperature_Celsius|0|0|0|0|"));
}

TEST_F(smart_detail, line_is_seen_up_to_255_characters) {
  const std::string line = "1 Spin_Up_Time f 1 2 3 t u -";
  EXPECT_THAT(read(line + std::string(254 - line.size(), ' ') + "987\n" +
                   smartctl_line("2", "Spin_Up_Time", std::string(100'000, '7'))),
              ElementsAre("1|Spin_Up_Time|1|2|3|9|-", "2|Spin_Up_Time|100|99|44|7777|-"));
}

TEST_F(smart_detail, is_empty_without_a_table) {
  for (const std::string& output : {std::string(), summary_output, std::string(100'000, '\n'),
                                    std::string(5000, '\0'), std::string("cut in mid")}) {
    machine.tool(smartctl).on("...").prints(output).times(1);
    EXPECT_EQ(get_smart_detail(&disk), ORV_OK);
  }
  EXPECT_THAT(attributes_of(disk), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(smart_detail, status_of_the_tool_does_not_count) {
  machine.tool(smartctl).prints(summary_output + smartctl_line("3", "Spin_Up_Time")).fails(64);
  EXPECT_EQ(get_smart_detail(&disk), ORV_OK);
  EXPECT_EQ(attributes_of(disk).size(), 1U);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(smart_detail, output_that_is_not_there_is_reported) {
  machine.tool(smartctl).runs("rm -f /tmp/smart_*");
  EXPECT_EQ(get_smart_detail(&disk), -11000);
  EXPECT_EQ(machine.log(),
            "cannot stat /tmp/smart_sda_detail.XXXXXX for 'No such file or directory'\n");
}

TEST_F(smart_detail, output_that_cannot_be_examined_is_reported_and_removed) {
  machine.tool(smartctl).prints(summary_output + smartctl_line("3", "Spin_Up_Time"));
  machine.fail("stat", EIO);
  EXPECT_EQ(get_smart_detail(&disk), -11000);
  EXPECT_EQ(machine.log(), "cannot stat /tmp/smart_sda_detail.XXXXXX for 'Input/output error'\n");
  EXPECT_THAT(attributes_of(disk), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smart_detail, output_that_cannot_be_opened_is_logged_with_the_tools_status) {
  machine.tool(smartctl).succeeds();
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(get_smart_detail(&disk), -1071);
  EXPECT_EQ(machine.log(), "get_smart_detail:N return 0 with Too many open files\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smart_detail, of_a_disk_that_cannot_be_named_is_not_asked) {
  EXPECT_EQ(get_smart_detail(&add("", 1, "0")), -11000);
  EXPECT_EQ(get_smart_detail(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

class smart_detail_value : public sandbox_test {
 protected:
  smart_detail_value() {
    liborv_strncpy(attribute.attr_name, sizeof attribute.attr_name, "before");
  }
  ~smart_detail_value() override {
    if (file != nullptr) std::fclose(file);
  }

  void holds(const std::string& text) {
    machine.file("/tmp/output", text);
    file = std::fopen("/tmp/output", "re");
  }

  FILE* file = nullptr;
  tag_disksmart_info attribute{};
};

TEST_F(smart_detail_value, is_that_of_any_line) {
  holds("no\n" + smartctl_line("12", "Power_Cycle_Count", "25"));
  EXPECT_EQ(get_smart_detail_value(file, 1, &attribute), ORV_OK);
  EXPECT_STREQ(attribute.id, "12");
  EXPECT_STREQ(attribute.attr_name, "Power_Cycle_Count");
  EXPECT_EQ(attribute.value, 100U);
  EXPECT_EQ(attribute.worst, 99U);
  EXPECT_EQ(attribute.thresh, 44U);
  EXPECT_EQ(attribute.raw, 25U);
  EXPECT_STREQ(attribute.status, "-");
  EXPECT_EQ(get_smart_detail_value(file, 0, &attribute), ORV_OK);
  EXPECT_STREQ(attribute.id, "no");
  EXPECT_STREQ(attribute.attr_name, "");
}

TEST_F(smart_detail_value, that_is_missing_leaves_the_record) {
  holds("1 a\n");
  for (const int line : {1, -1}) {
    errno = 0;
    EXPECT_EQ(get_smart_detail_value(file, line, &attribute), -1);
  }
  EXPECT_STREQ(attribute.attr_name, "before");
  EXPECT_EQ(machine.log(),
            "get_smart_detail_value:N return -1 with Success\n"
            "get_smart_detail_value:N return -1 with Invalid argument\n");
}

TEST_F(smart_detail_value, that_cannot_be_read_leaves_the_record) {
  machine.directory("/tmp/output");
  file = std::fopen("/tmp/output", "re");
  EXPECT_EQ(get_smart_detail_value(file, 0, &attribute), -2);
  EXPECT_STREQ(attribute.attr_name, "before");
  EXPECT_EQ(machine.log(), "get_smart_detail_value:N return -2 with Is a directory\n");
}

TEST_F(smart_detail_value, needs_a_file_and_a_record) {
  EXPECT_EQ(get_smart_detail_value(nullptr, 0, &attribute), -1);
  holds("1 a\n");
  EXPECT_EQ(get_smart_detail_value(file, 0, nullptr), ORV_E_FAILED);
}
