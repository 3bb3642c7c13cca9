#include <cerrno>
#include <climits>

#include "tests/disk/smart_output.h"

using testing::ElementsAre;
using testing::IsEmpty;

class smart_arcadm : public disk_test {
 protected:
  sandbox::lines read(const std::string& output) {
    machine.tool(arcadm).prints(output);
    EXPECT_EQ(get_smart_from_arcadm(&disk), ORV_OK);
    return attributes_of(disk);
  }

  tag_disk_info& disk = add("", 12, "0");
};

TEST_F(smart_arcadm, is_seven_attributes_numbered_by_their_lines) {
  EXPECT_THAT(
      read("S.M.A.R.T. information\n"
           "=====================\n"
           "Attribute Items     : Value (Threshold) Status\n"
           "Raw Read Error Rate : 200 (51) OK\n"
           "Spin Up Time        : 97 (21) OK\n"
           "  Reallocated Sector Ct :  123456  ( 140 )  FAILED now\n"
           "Power-on Hours Count : 1 (2) OK\n"
           "Seek Error Rate:200 (0) OK\n"
           "Spin Retry Count : 100 (51)OK\n"
           "Calibration Retry Count : 100 (51) OK\n"
           "Temperature Celsius : 112 (0) OK\n"
           "Spin Up Time        : 1 (2) OK\n"),
      ElementsAre("3|Raw Read Error Rate|0|200|51|0|OK", "4|Spin Up Time|0|97|21|0|OK",
                  "5|Reallocated Sector Ct|0|1234|140|0|FAILED", "7|Seek Error Rate|0|200|0|0|OK",
                  "8|Spin Retry Count|0|100|51|0|OK", "9|Calibration Retry Count|0|100|51|0|OK",
                  "10|Temperature Celsius|0|112|0|0|OK"));
  EXPECT_THAT(machine.commands(), ElementsAre("/usr/local/bin/arcadm --misc -s -i 11 > "
                                              "/tmp/smart_12_detail.XXXXXX"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(smart_arcadm, first_line_has_the_number_0_and_large_numbers_are_cut) {
  EXPECT_THAT(
      read("Spin Up Time : 97 (21) OK\n" + other_lines(1233) + "Spin Up Time : 97 (21) OK\n"),
      ElementsAre("0|Spin Up Time|0|97|21|0|OK", "123|Spin Up Time|0|97|21|0|OK"));
}

TEST_F(smart_arcadm, worst_value_is_cut_to_four_characters_and_the_threshold_is_not) {
  EXPECT_THAT(
      read("Spin Up Time : 12345 (67890) OK\nSeek Error Rate : 1 (4294967296) OK\n"),
      ElementsAre("0|Spin Up Time|0|1234|67890|0|OK", "1|Seek Error Rate|0|1|4294967295|0|OK"));
}

TEST_F(smart_arcadm, name_is_all_before_the_colon) {
  EXPECT_THAT(read("Spin_Up_Time : 1 (2) OK\nx Spin Up Time : 1 (2) OK\nSpin  Up Time : 1\n"
                   "Spin Up Time\nSpin Up Time x: 1 (2) OK\n: Spin Up Time : 1 (2) OK\n"),
              IsEmpty());
}

TEST_F(smart_arcadm, line_that_ends_early_gives_what_it_has) {
  EXPECT_THAT(
      read("Spin Up Time :\nSpin Up Time : 97\nSpin Up Time : 97 (\n"
           "Spin Up Time : 97 (21\nSpin Up Time : 97 (21)\nSpin Up Time : (21) OK\n"
           "Spin Up Time : x (y) z"),
      ElementsAre("0|Spin Up Time|0|0|0|0|", "1|Spin Up Time|0|97|0|0|", "2|Spin Up Time|0|97|0|0|",
                  "3|Spin Up Time|0|97|21|0|", "4|Spin Up Time|0|97|21|0|",
                  "5|Spin Up Time|0|0|21|0|OK", "6|Spin Up Time|0|0|0|0|z"));
}

TEST_F(smart_arcadm, is_empty_without_attributes) {
  for (const std::string& output : {std::string(), std::string("no disk\n"),
                                    std::string(100'000, ':'), std::string(300, '\0') + "\nSpin"}) {
    machine.tool(arcadm).on("...").prints(output).times(1);
    EXPECT_EQ(get_smart_from_arcadm(&disk), ORV_OK);
  }
  EXPECT_THAT(attributes_of(disk), IsEmpty());
}

TEST_F(smart_arcadm, status_of_the_tool_does_not_count) {
  machine.tool(arcadm).prints("Spin Up Time : 97 (21) OK\n").fails(1);
  EXPECT_EQ(get_smart_from_arcadm(&disk), ORV_OK);
  EXPECT_EQ(attributes_of(disk).size(), 1U);
}

TEST_F(smart_arcadm, output_that_cannot_be_opened_is_reported) {
  machine.tool(arcadm).on("...").runs("rm -f /tmp/smart_*").times(1);
  EXPECT_EQ(get_smart_from_arcadm(&disk), -11000);
  EXPECT_EQ(machine.log(),
            "cannot stat /tmp/smart_12_detail.XXXXXX for 'No such file or directory'\n");
  machine.forget();
  machine.tool(arcadm).on("...").dies_of(SIGTERM);
  machine.fail("fopen", ENFILE);
  EXPECT_EQ(get_smart_from_arcadm(&disk), -1071);
  EXPECT_EQ(machine.log(),
            "get_smart_from_arcadm:N return 36608 with Too many open files in system\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smart_arcadm, output_that_cannot_be_examined_is_reported_and_removed) {
  machine.tool(arcadm).prints("Spin Up Time : 97 (21) OK\n");
  machine.fail("stat", EIO);
  EXPECT_EQ(get_smart_from_arcadm(&disk), -11000);
  EXPECT_EQ(machine.log(), "cannot stat /tmp/smart_12_detail.XXXXXX for 'Input/output error'\n");
  EXPECT_THAT(attributes_of(disk), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smart_arcadm, any_channel_can_be_asked_for) {
  machine.tool(arcadm).succeeds();
  for (const int32_t channel : {0, INT_MIN, INT_MAX}) {
    disk.ch = channel;
    EXPECT_EQ(get_smart_from_arcadm(&disk), ORV_OK);
  }
  EXPECT_THAT(
      machine.calls(),
      ElementsAre(ElementsAre("/usr/local/bin/arcadm", "--misc", "-s", "-i", "-1"),
                  ElementsAre("/usr/local/bin/arcadm", "--misc", "-s", "-i", "-2147483649"),
                  ElementsAre("/usr/local/bin/arcadm", "--misc", "-s", "-i", "2147483646")));
  EXPECT_EQ(get_smart_from_arcadm(nullptr), ORV_E_FAILED);
}

TEST_F(smart_arcadm, value_is_that_of_any_line) {
  machine.file("/tmp/output", "x\nPower-on Hours Count : 5 (7) OK\n");
  FILE* const file = std::fopen("/tmp/output", "re");
  tag_disksmart_info attribute{};
  attribute.value = attribute.raw = 9;
  liborv_strncpy(attribute.attr_name, sizeof attribute.attr_name, "before");
  errno = 0;
  EXPECT_EQ(get_smart_value_arcadm(file, 2, &attribute), -1);
  EXPECT_STREQ(attribute.attr_name, "before");
  EXPECT_EQ(machine.log(), "get_smart_value_arcadm:N return -1 with Success\n");
  EXPECT_EQ(get_smart_value_arcadm(file, 1, nullptr), ORV_E_FAILED);
  EXPECT_EQ(get_smart_value_arcadm(file, 1, &attribute), ORV_OK);
  std::fclose(file);
  EXPECT_STREQ(attribute.id, "1");
  EXPECT_STREQ(attribute.attr_name, "Power-on Hours Count");
  EXPECT_EQ(attribute.value, 0U);
  EXPECT_EQ(attribute.worst, 5U);
  EXPECT_EQ(attribute.thresh, 7U);
  EXPECT_EQ(attribute.raw, 0U);
  EXPECT_STREQ(attribute.status, "OK");
}

TEST_F(smart_arcadm, value_that_cannot_be_read_leaves_the_record) {
  machine.directory("/tmp/output");
  FILE* const file = std::fopen("/tmp/output", "re");
  tag_disksmart_info attribute{};
  liborv_strncpy(attribute.attr_name, sizeof attribute.attr_name, "before");
  EXPECT_EQ(get_smart_value_arcadm(file, 0, &attribute), -2);
  std::fclose(file);
  EXPECT_STREQ(attribute.attr_name, "before");
  EXPECT_EQ(machine.log(), "get_smart_value_arcadm:N return -2 with Is a directory\n");
}
