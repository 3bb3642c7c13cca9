#include "tests/disk/smart_output.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class smart_summary : public disk_test {
 protected:
  int read(const std::string& output) {
    machine.tool(smartctl).prints(output);
    return get_smart(&disk);
  }

  sandbox::lines texts() const { return summary_of(disk); }

  /// What is logged when so many keys are missing.
  static sandbox::lines missing(std::size_t keys) {
    return sandbox::lines(keys, "get_value_from_file:N return -1 with Success");
  }

  tag_disk_info& disk = add("sda", 1, "0");
};

TEST_F(smart_summary, is_what_smartctl_prints) {
  EXPECT_EQ(read(summary_output), ORV_OK);
  EXPECT_THAT(texts(),
              ElementsAre("ST31000340NS", "9QJ2ABCD", "SN06", "1,000,204,886,016 bytes", "8",
                          "ATA-8-ACS revision 4", "Available - device has SMART capability.",
                          "Enabled", "PASSED"));
  EXPECT_THAT(machine.commands(),
              ElementsAre("/usr/local/sbin/smartctl -d marvell -T permissive -Hi /dev/sda > "
                          "/tmp/smart_sda.XXXXXX"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

// The present smartctl says nothing of an ATA standard.
TEST_F(smart_summary, is_read_from_the_present_smartctl) {
  EXPECT_EQ(read(fixture("smartctl/summary.txt")), ORV_OK);
  EXPECT_THAT(texts(),
              ElementsAre("QEMU HARDDISK", "ata", "2.5+", "67,108,864 bytes [67.1 MB]", "ATA/ATA",
                          "NaN", "Available - device has SMART capability.", "Enabled", "PASSED"));
  EXPECT_EQ(machine.log_lines(), missing(1));
}

TEST_F(smart_summary, of_a_real_disk_without_smart_has_no_health) {
  EXPECT_EQ(read(fixture("smartctl/no_smart.txt")), -1);
  EXPECT_THAT(texts(), ElementsAre("NaN", "NaN", "NaN", "209,715,200 bytes [209 MB]", "NaN", "NaN",
                                   "Unavailable - device lacks SMART capability.", "NaN", "NaN"));
  EXPECT_EQ(machine.log_lines(), missing(7));
}

TEST_F(smart_summary, status_of_the_tool_does_not_count) {
  machine.tool(smartctl).prints(summary_output).fails(8);
  EXPECT_EQ(get_smart(&disk), ORV_OK);
  EXPECT_STREQ(disk.smart.health, "PASSED");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(smart_summary, without_the_health_line_keeps_the_other_texts) {
  EXPECT_EQ(read(summary_output.substr(0, summary_output.find("=== START OF READ"))), -1);
  EXPECT_THAT(texts(), ElementsAre("ST31000340NS", "9QJ2ABCD", "SN06", "1,000,204,886,016 bytes",
                                   "8", "ATA-8-ACS revision 4",
                                   "Available - device has SMART capability.", "Enabled", "NaN"));
  EXPECT_EQ(machine.log_lines(), missing(1));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smart_summary, line_that_is_missing_leaves_its_text_and_is_logged) {
  EXPECT_EQ(read("SMART overall-health self-assessment test result: FAILED!\n"
                 "SMART support is: Unavailable\nSerial number: x\nSerial Numbers: y\n"),
            ORV_OK);
  EXPECT_THAT(texts(), ElementsAre("NaN", "NaN", "NaN", "NaN", "NaN", "NaN", "Unavailable", "NaN",
                                   "FAILED!"));
  EXPECT_EQ(machine.log_lines(), missing(7));
}

TEST_F(smart_summary, text_that_is_too_long_is_cut) {
  EXPECT_EQ(read("Firmware Version: 0123456789ABCDEFG\nATA Version is:   ATA/ATAPI-7, published\n"
                 "SMART overall-health self-assessment test result: UNKNOWN FOR NOW. x\n"),
            ORV_OK);
  EXPECT_STREQ(disk.smart.firmware_version, "0123456789ABCDE");
  EXPECT_STREQ(disk.smart.ata_version, "ATA/ATA");
  EXPECT_STREQ(disk.smart.health, "UNKNOWN FOR NOW");
}

TEST_F(smart_summary, text_ends_at_a_second_colon) {
  read("Device Model:     Rev: 2\n");
  EXPECT_STREQ(disk.smart.device_model, "Rev");
}

TEST_F(smart_summary, is_not_known_when_the_tool_cannot_open_the_disk) {
  EXPECT_EQ(read("smartctl 7.3 2022-02-28 r5338 [x86_64-linux-6.1.0-56-amd64] (local build)\n"
                 "Copyright (C) 2002-22, Bruce Allen, Christian Franke, www.smartmontools.org\n\n"
                 "Smartctl open device: /dev/sda failed: No such device\n"),
            -1);
  EXPECT_EQ(texts(), no_summary);
  EXPECT_EQ(machine.log_lines(), missing(9));
}

TEST_F(smart_summary, is_not_known_from_no_or_strange_output) {
  for (const std::string& output : {std::string(), std::string("\0\1\n\xff: \xff", 7),
                                    std::string(100'000, ':'), std::string("Device Model")}) {
    machine.tool(smartctl).on("...").prints(output).times(1);
    EXPECT_EQ(get_smart(&disk), -1);
  }
  EXPECT_EQ(disk.smart.serial_number, std::string("NaN"));
  EXPECT_STREQ(disk.smart.device_model, "");
}

TEST_F(smart_summary, missing_tool_leaves_an_empty_output) {
  machine.tool(smartctl).is_missing();
  EXPECT_EQ(get_smart(&disk), -1);
  EXPECT_EQ(texts(), no_summary);
}

TEST_F(smart_summary, output_that_is_not_there_is_reported) {
  machine.tool(smartctl).runs("rm -f /tmp/smart_*");
  EXPECT_EQ(get_smart(&disk), -11000);
  EXPECT_EQ(machine.log(), "cannot stat /tmp/smart_sda.XXXXXX for 'No such file or directory'\n");
  EXPECT_EQ(texts(), no_summary);
}

TEST_F(smart_summary, output_that_cannot_be_examined_is_reported_and_removed) {
  machine.tool(smartctl).prints(summary_output);
  machine.fail("stat", EIO);
  EXPECT_EQ(get_smart(&disk), -11000);
  EXPECT_EQ(machine.log(), "cannot stat /tmp/smart_sda.XXXXXX for 'Input/output error'\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smart_summary, output_that_cannot_be_opened_is_logged_with_the_tools_status) {
  machine.tool(smartctl).prints(summary_output).fails(4);
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(get_smart(&disk), -1070);
  EXPECT_EQ(machine.log(), "get_smart:N return 1024 with Too many open files\n");
  EXPECT_EQ(texts(), no_summary);
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smart_summary, without_a_temporary_file_nothing_is_run) {
  machine.fail("mkstemp", EROFS);
  EXPECT_EQ(get_smart(&disk), -11000);
  EXPECT_EQ(machine.log(), "cannot stat /tmp/smart_sda.XXXXXX for 'Read-only file system'\n");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(smart_summary, name_with_signs_of_the_shell_is_one_word) {
  tag_disk_info& strange = add("a b;$(c", 1, "0");
  machine.tool(smartctl)
      .on_exactly({"-d", "marvell", "-T", "permissive", "-Hi", "/dev/a b;$(c"})
      .prints(summary_output);
  EXPECT_EQ(get_smart(&strange), ORV_OK);
  EXPECT_STREQ(strange.smart.health, "PASSED");
}

TEST_F(smart_summary, name_that_climbs_gets_no_temporary_file) {
  tag_disk_info& strange = add("../x", 1, "0");
  EXPECT_EQ(get_smart(&strange), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.list("/"), testing::Not(testing::Contains("x")));
}

TEST_F(smart_summary, of_a_disk_without_a_name_is_not_asked) {
  tag_disk_info& nameless = add("", 1, "0");
  EXPECT_EQ(get_smart(&nameless), -11000);
  EXPECT_THAT(machine.log(), StartsWith("system(\"/usr/local/sbin/smartctl -d marvell"));
  EXPECT_EQ(get_smart(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}
