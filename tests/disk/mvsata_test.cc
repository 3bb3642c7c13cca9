#include <cerrno>

#include "tests/disk/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class mvsata : public disk_test {
 protected:
  mvsata() { machine.tool("cat").is_real(); }

  /// The disks of a machine with one host.
  sandbox::lines places_of(const std::string& place, const std::string& disk_lines) {
    disk_list_fini(&list);
    host("0", place, disk_lines);
    EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
    return places();
  }
};

TEST_F(mvsata, controller_of_the_main_chassis_numbers_from_its_position) {
  const std::string disk = disk_line(0, 0, "sda");
  for (const char* first : {"1,4", "bus 1, slot 4", "3,3", "0,4"}) {
    EXPECT_THAT(places_of(first, disk), ElementsAre("sda 1@0")) << first;
  }
  for (const char* second : {"1,5", "3,1", "0,5"}) {
    EXPECT_THAT(places_of(second, disk), ElementsAre("sda 9@0")) << second;
  }
}

TEST_F(mvsata, controller_of_the_expansion_enclosures_numbers_from_its_position) {
  EXPECT_THAT(places_of("2,1", disk_line(0, 0, "*sda")), ElementsAre("sda 1@1"));
  EXPECT_THAT(places_of("2,2", disk_line(0, 0, "*sda")), ElementsAre("sda 1@3"));
}

TEST_F(mvsata, controller_in_any_other_place_has_position_0) {
  for (const char* place : {"1,3", "3,2", "0,1", "2,3", "2,4", "4,1", ",4", "1,", ",", "x,y"}) {
    EXPECT_THAT(places_of(place, disk_line(0, 0, "sda") + disk_line(0, 0, "*sdb")),
                ElementsAre("sda -7@0", "sdb 1@0"))
        << place;
  }
}

TEST_F(mvsata, place_is_judged_around_its_last_comma) {
  EXPECT_THAT(places_of("0000:02,1,5 \t", disk_line(0, 0, "sda")), ElementsAre("sda 9@0"));
  EXPECT_THAT(places_of("pci:3, bus 2,2", disk_line(0, 0, "*sda")), ElementsAre("sda 1@3"));
}

TEST_F(mvsata, channel_adds_port_and_unit) {
  EXPECT_THAT(places_of("1,4", disk_line(3, 0, "sda")), ElementsAre("sda 4@0"));
  EXPECT_THAT(places_of("1,5", disk_line(3, 2, "sda")), ElementsAre("sda 14@0"));
  EXPECT_THAT(places_of("2,1", disk_line(7, 0, "sda")), ElementsAre("sda 16@0"));
}

TEST_F(mvsata, second_on_board_disk_of_a_file_is_numbered_from_the_lowered_position) {
  EXPECT_THAT(places_of("1,5", disk_line(0, 0, "sda") + disk_line(1, 0, "sdb")),
              ElementsAre("sda 9@0", "sdb 2@0"));
  EXPECT_THAT(places_of("1,4", disk_line(0, 0, "sda") + disk_line(1, 0, "sdb")),
              ElementsAre("sda 1@0", "sdb -6@0"));
  EXPECT_THAT(places_of("2,2", disk_line(0, 0, "sda") + disk_line(1, 0, "sdb")),
              ElementsAre("sda 9@0", "sdb 2@0"));
}

TEST_F(mvsata, lowered_position_holds_for_expansion_disks_behind_it_but_not_for_other_files) {
  host("1", "2,2", disk_line(0, 0, "*sdc"));
  EXPECT_THAT(places_of("2,1", disk_line(0, 0, "sda") + disk_line(2, 1, "*sdb")),
              ElementsAre("sda 9@0", "sdb 10@0", "sdc 1@3"));
}

TEST_F(mvsata, expansion_enclosures_hold_sixteen_channels_each) {
  EXPECT_THAT(places_of("2,2", disk_line(2, 3, "*sda")), ElementsAre("sda 12@3"));
  EXPECT_THAT(places_of("2,1", disk_line(5, 0, "*sda")), ElementsAre("sda 5@2"));
  EXPECT_THAT(places_of("2,1", disk_line(3, 3, "*sda") + disk_line(4, 0, "*sdb")),
              ElementsAre("sda 16@1", "sdb 1@2"));
  EXPECT_THAT(places_of("2,2", disk_line(0, 0, "*sda") + disk_line(7, 3, "*sdb")),
              ElementsAre("sda 1@3", "sdb 16@4"));
}

TEST_F(mvsata, expansion_disk_without_enclosure_or_channel_has_those_of_the_one_before) {
  EXPECT_THAT(
      places_of("2,1", disk_line(8, 0, "*sda") + disk_line(5, 1, "*sdb") + disk_line(9, 3, "*sdc")),
      ElementsAre("sda 0@0", "sdb 6@2", "sdc 6@2"));
  host("1", "9,9", disk_line(1, 1, "*sdd") + disk_line(8, 1, "*sde"));
  EXPECT_THAT(places_of("2,2", disk_line(0, 0, "*sda")),
              ElementsAre("sda 1@3", "sdd 6@3", "sde 6@3"));
}

TEST_F(mvsata, unknown_enclosure_and_channel_start_at_0_in_every_call) {
  EXPECT_THAT(places_of("2,2", disk_line(5, 1, "*sda")), ElementsAre("sda 6@4"));
  EXPECT_THAT(places_of("9,9", disk_line(8, 1, "*sda")), ElementsAre("sda 0@0"));
}

TEST_F(mvsata, only_the_first_digit_of_port_and_unit_counts) {
  EXPECT_THAT(places_of("1,4", "0 12 34 a b c d e f sda\n"), ElementsAre("sda 5@0"));
}

TEST_F(mvsata, only_six_lines_list_disks) {
  std::string lines;
  for (const char* name : {"sda", "sdb", "sdc", "sdd", "sde", "sdf", "sdg", "sdh"}) {
    lines += disk_line(0, 0, std::string("*") + name);
  }
  EXPECT_THAT(places_of("2,1", lines),
              ElementsAre("sda 1@1", "sdb 1@1", "sdc 1@1", "sdd 1@1", "sde 1@1", "sdf 1@1"));
  machine.file("/proc/scsi/mvSata/0", "PCI location: 2,1\n\n\n\n\n\n\n\n" +
                                          disk_line(0, 0, "*early") + disk_line(0, 1, "*sda"));
  disk_list_fini(&list);
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("sda 2@1"));
}

TEST_F(mvsata, line_that_lists_no_disk_is_passed_over) {
  const std::string no_disk[] = {"",
                                 "No disk",
                                 " 0 1 1 a b c d e f sdx",
                                 "0",
                                 "0 1",
                                 "0 1 1",
                                 "0 1 1 a b c d e f",
                                 "0 - 1 a b c d e f sdx",
                                 "0 1 x a b c d e f sdx"};
  for (const std::string& line : no_disk) {
    EXPECT_THAT(places_of("1,4", line + "\n" + disk_line(1, 1, "sda")), ElementsAre("sda 3@0"))
        << line;
  }
}

TEST_F(mvsata, fields_are_separated_by_blanks_and_tabs_and_end_with_the_line) {
  EXPECT_THAT(places_of("1,4", "0\t \t1  1\ta b c d e f\tsda more\n0 1 1 a b c d e f *sdb\r\n"),
              ElementsAre("sda 3@0", "sdb 6@0"));
}

TEST_F(mvsata, name_is_cut_to_its_field) {
  EXPECT_THAT(places_of("2,1", disk_line(0, 0, "*sdabcdefg") + disk_line(0, 1, "*")),
              ElementsAre("sdabcde 1@1", " 2@1"));
}

TEST_F(mvsata, hosts_are_read_in_numeric_order) {
  for (const char* number : {"10", "9", "2", "0"}) {
    host(number, "2,1", disk_line(0, 0, std::string("*sd") + number));
  }
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("sd0 1@1", "sd2 1@1", "sd9 1@1", "sd10 1@1"));
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX",
                                              "cat /proc/scsi/mvSata/2 > /tmp/disk2.XXXXXX",
                                              "cat /proc/scsi/mvSata/9 > /tmp/disk9.XXXXXX",
                                              "cat /proc/scsi/mvSata/10 > /tmp/disk10.XXXXXX"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mvsata, names_longer_than_a_host_number_are_passed_over) {
  host("100", "1,4", disk_line(0, 0, "sda"));
  machine.directory("/proc/scsi/mvSata/statistics");
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(mvsata, host_without_a_place_contributes_no_disk) {
  host("0", "bus 1 slot 4", disk_line(0, 0, "sda"));
  machine.file("/proc/scsi/mvSata/1", "1\n2\n3\n4\n5\n6\n7\n8\n9\n" + disk_line(0, 0, "sdb"));
  machine.file("/proc/scsi/mvSata/2", "");
  host("3", "", disk_line(0, 0, "sdc"));
  host("4", "1,4", disk_line(0, 0, "sdd"));
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("sdd 1@0"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(mvsata, junk_in_a_file_is_survived) {
  const std::string longest(100'000, '7');
  host("0", "1,4" + longest, longest + "\n");
  host("1", "1,4", "0 1 1 a b c d e f " + longest + "\n" + disk_line(1, 0, "sda"));
  host("2", "1,4", std::string("0\0 1 1 a b c d e f sdb\n", 22) + "\xff\xfe\x01 9");
  host("3", "2,1", "0 1 1 a b c d e f *sd");
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("7777777 3@0", "sda -6@0", "sd 6@1"));
}

TEST_F(mvsata, strange_host_name_stays_one_word) {
  host(";x", "1,4", disk_line(0, 0, "sda"));
  host("-n", "1,5", disk_line(0, 0, "sdb"));
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("sdb 9@0", "sda 1@0"));
  EXPECT_THAT(machine.commands(),
              testing::Contains(StartsWith("cat /proc/scsi/mvSata/';x' > '/tmp/disk;x.")));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(mvsata, missing_driver_is_reported) {
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), -1021);
  EXPECT_EQ(machine.log(),
            "get_diskinfo_from_mvSata:N return -1021 with No such file or directory\n");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(mvsata, unreadable_file_ends_the_scan_with_its_own_log_form) {
  host("0", "1,4", disk_line(0, 0, "sda"));
  machine.directory("/proc/scsi/mvSata/1");
  host("2", "1,5", disk_line(0, 0, "sdb"));
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), -11000);
  EXPECT_THAT(machine.log(),
              StartsWith("system(\"cat /proc/scsi/mvSata/1 > /tmp/disk1.XXXXXX\") return normal "
                         "with exit(1)for '"));
  EXPECT_THAT(places(), ElementsAre("sda 1@0"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(mvsata, dump_whose_shell_a_signal_ended_is_logged) {
  host("0", "1,4", disk_line(0, 0, "sda"));
  shell_is_killed();
  errno = 0;
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), -11000);
  EXPECT_EQ(machine.log(),
            "system(\"cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX\") return unnormal with "
            "exit(0)for 'Success'\n");
  EXPECT_THAT(disks(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(mvsata, dump_that_cannot_be_opened_ends_the_scan_and_its_file_stays) {
  host("0", "1,4", disk_line(0, 0, "sda"));
  host("1", "1,5", disk_line(0, 0, "sdb"));
  machine.fail("fopen", EACCES, 2);
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), -1022);
  EXPECT_EQ(machine.log(), "get_diskinfo_from_mvSata:N return -1022 with Permission denied\n");
  EXPECT_THAT(places(), ElementsAre("sda 1@0"));
  EXPECT_THAT(machine.temp_files(), ElementsAre("disk1.XXXXXX"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(mvsata, dump_that_cannot_be_examined_ends_the_scan) {
  host("0", "1,4", disk_line(0, 0, "sda"));
  machine.fail("fstat", EIO);
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), -1022);
  EXPECT_EQ(machine.log(), "get_diskinfo_from_mvSata:N return -1022 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), ElementsAre("disk0.XXXXXX"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(mvsata, nothing_is_run_without_a_temporary_file) {
  host("0", "1,4", disk_line(0, 0, "sda"));
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.log(), testing::HasSubstr("for 'No space left on device'\n"));
}

TEST_F(mvsata, missing_list_is_reported) {
  EXPECT_EQ(get_diskinfo_from_mvSata(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "get_diskinfo_from_mvSata:N return -1 with Invalid argument\n");
}
