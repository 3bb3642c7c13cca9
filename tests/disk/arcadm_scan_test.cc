#include <cerrno>

#include "tests/disk/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

class arcadm_scan : public disk_test {
 protected:
  void controller_prints(const std::string& output) {
    machine.tool("/usr/local/bin/arcadm").on("--misc --scan").prints(output);
  }

  /// What the show operation prints of the disks of a scan.
  std::string shown(const std::string& output) {
    controller_prints(output);
    EXPECT_EQ(get_diskinfo_from_arcadm(&list), ORV_OK);
    disk_list_show(&list);
    return machine.output();
  }
};

TEST_F(arcadm_scan, lists_the_disks_of_the_bays_that_hold_one) {
  EXPECT_EQ(shown("Port /Model /Capacity /State /Usage\n"
                  "=====================================\n"
                  "0 a/ST31000340NS   /1000 /Normal   /Raid Set # 000  \n"
                  "1 a/N.A.           /0    /N.A.     /N.A.\n"
                  "2 a/WDC WD10       /500GB/Failed   /Hot Spare\n"
                  "=====================================\n"
                  "11 a/SAMSUNG/250/Normal/Hot Spare!\n"),
            "''\t'1'\t'1000'\t'Normal'\t'ST31000340NS'\t'Raid Set # 000'\t'0'\t'0'\n"
            "''\t'3'\t'500'\t'Failed'\t'WDC WD10'\t'Hot Spare'\t'0'\t'1'\n"
            "''\t'12'\t'250'\t'Normal'\t'SAMSUNG'\t'Hot Spare!'\t'0'\t'0'\n");
  EXPECT_THAT(machine.commands(),
              ElementsAre("/usr/local/bin/arcadm --misc --scan > /tmp/diskinfo.XXXXXX"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(arcadm_scan, line_cut_short_fills_what_it_has) {
  EXPECT_EQ(shown("0 a/M\n1 a/M/7\n2 a/M/7/S\n3 a\n4\n\n"),
            "''\t'1'\t'-1'\t''\t'M'\t''\t'0'\t'0'\n"
            "''\t'2'\t'7'\t''\t'M'\t''\t'0'\t'0'\n"
            "''\t'3'\t'7'\t'S'\t'M'\t''\t'0'\t'0'\n");
}

TEST_F(arcadm_scan, text_is_cut_to_its_field_and_the_line_to_255_characters) {
  EXPECT_EQ(shown("0 a/" + std::string(40, 'm') + "/5/" + std::string(40, 's') + "/" +
                  std::string(100'000, 'u') + "\n1 a/M/6/S/U\n" + "2 a/" + std::string(300, 'x') +
                  "/7/S/U"),
            "''\t'1'\t'5'\t'" + std::string(31, 's') + "'\t'" + std::string(31, 'm') + "'\t'" +
                std::string(31, 'u') + "'\t'0'\t'0'\n" + "''\t'2'\t'6'\t'S'\t'M'\t'U'\t'0'\t'0'\n" +
                "''\t'3'\t'-1'\t''\t'" + std::string(31, 'x') + "'\t''\t'0'\t'0'\n");
}

TEST_F(arcadm_scan, empty_or_binary_output_lists_nothing) {
  EXPECT_EQ(shown(""), "");
  machine.tool("/usr/local/bin/arcadm").on("--misc --scan").prints(std::string("\xff\0\x01/\n", 5));
  EXPECT_EQ(get_diskinfo_from_arcadm(&list), ORV_OK);
  EXPECT_THAT(disks(), IsEmpty());
}

TEST_F(arcadm_scan, tool_that_fails_is_logged) {
  machine.tool("/usr/local/bin/arcadm").prints("0 a/M/1/S/U\n").fails(1);
  errno = 0;
  EXPECT_EQ(get_diskinfo_from_arcadm(&list), -11000);
  EXPECT_EQ(machine.log(),
            "system(\"/usr/local/bin/arcadm --misc --scan > /tmp/diskinfo.XXXXXX\") "
            "return normal with exit(1) for 'Success'\n");
  EXPECT_THAT(disks(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(arcadm_scan, tool_whose_shell_a_signal_ended_is_logged) {
  shell_is_killed();
  errno = 0;
  EXPECT_EQ(get_diskinfo_from_arcadm(&list), -11000);
  EXPECT_EQ(machine.log(),
            "system(\"/usr/local/bin/arcadm --misc --scan > /tmp/diskinfo.XXXXXX\") "
            "return unnormal with exit(0) for 'Success'\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(arcadm_scan, output_that_is_there_and_cannot_be_opened_is_told_and_removed) {
  controller_prints("0 a/M/1/S/U\n");
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(get_diskinfo_from_arcadm(&list), -1025);
  EXPECT_THAT(machine.output(), testing::MatchesRegex("cannot open /tmp/diskinfo\\..{6}\n"));
  EXPECT_EQ(machine.log(), "get_diskinfo_from_arcadm:N return -1025 with Too many open files\n");
  EXPECT_THAT(disks(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(arcadm_scan, output_that_cannot_be_opened_is_told_and_reported) {
  machine.tool("/usr/local/bin/arcadm").runs("rm -f /tmp/diskinfo.*");
  EXPECT_EQ(get_diskinfo_from_arcadm(&list), -1025);
  EXPECT_THAT(machine.output(), testing::MatchesRegex("cannot open /tmp/diskinfo\\..{6}\n"));
  EXPECT_EQ(machine.log(),
            "get_diskinfo_from_arcadm:N return -1025 with No such file or directory\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(arcadm_scan, missing_list_is_reported) {
  EXPECT_EQ(get_diskinfo_from_arcadm(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}
