#include <cerrno>

#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class mdadm_detail : public sandbox_test {
 protected:
  /// What is read of an array "md0" that mdadm describes with this text.
  tag_md_info read(const std::string& detail) {
    machine.tool("/sbin/mdadm").on("--detail /dev/md0").prints(detail);
    md_list list;
    list.add("md0");
    EXPECT_EQ(get_mdinfo_from_mdadm(list.get()), ORV_OK);
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
    return list.only();
  }

  static std::string sized(const std::string& size_line) {
    return "Raid Level : raid1\n" + size_line + "\nState : clean\n";
  }

  /// The value of a key, "before" when none is written, and the result.
  std::pair<int, std::string> value(const std::string& text, const char* key, int size = 16) {
    machine.file("/tmp/detail", text);
    FILE* const file = std::fopen("/tmp/detail", "r");
    char buffer[32] = "before";
    const int result = get_mdinfo_type(file, buffer, size, key);
    std::fclose(file);
    return {result, buffer};
  }
};

constexpr char detail_of_raid5[] =
    "/dev/md0:\n"
    "           Version : 1.2\n"
    "     Creation Time : Thu Nov 20 10:00:00 2025\n"
    "        Raid Level : raid5\n"
    "        Array Size : 1572864 (1536.00 MiB 1610.61 MB)\n"
    "     Used Dev Size : 786432 (768.00 MiB 805.31 MB)\n"
    "      Raid Devices : 3\n"
    "             State : clean, degraded, recovering \n"
    "    Rebuild Status : 18% complete\n"
    "    Number   Major   Minor   RaidDevice State\n"
    "       0       8        0        0      active sync   /dev/sda\n";

TEST_F(mdadm_detail, level_size_and_state_are_read) {
  const tag_md_info md = read(detail_of_raid5);
  EXPECT_STREQ(md.level, "raid5");
  EXPECT_EQ(md.size, 2u);
  EXPECT_STREQ(md.state, "clean, degraded, recovering");
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm --detail /dev/md0 > /tmp/md0.XXXXXX"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdadm_detail, size_is_rounded_to_the_nearest_gib) {
  EXPECT_EQ(read(sized("Array Size : 524287")).size, 0u);
  EXPECT_EQ(read(sized("Array Size : 524288 (512.00 MiB)")).size, 1u);
  EXPECT_EQ(read(sized("Array Size : 1572863")).size, 1u);
  EXPECT_EQ(read(sized("Array Size : 18446744073709551615")).size, 1ull << 44);
}

TEST_F(mdadm_detail, size_of_a_device_stands_in_for_that_of_the_array) {
  const tag_md_info md = read(sized("Device Size : 2097152 (2.00 GiB)"));
  EXPECT_EQ(md.size, 2u);
  EXPECT_STREQ(md.state, "clean");
  EXPECT_THAT(machine.log(), StartsWith("get_mdinfo_type:N return -1031 with "));
}

TEST_F(mdadm_detail, size_passes_through_the_member_field) {
  EXPECT_STREQ(read(sized("Array Size : 2097152 (2.00 GiB)")).disks, "2097152 (2.00 GiB)");
}

TEST_F(mdadm_detail, without_a_size_the_state_is_not_read) {
  const tag_md_info md = read("Raid Level : raid1\nState : clean\n");
  EXPECT_STREQ(md.level, "raid1");
  EXPECT_EQ(md.size, 0u);
  EXPECT_STREQ(md.state, "inactive");
}

TEST_F(mdadm_detail, without_a_level_nothing_is_read) {
  const tag_md_info md = read("Array Size : 2097152\nState : clean\n");
  EXPECT_STREQ(md.level, "");
  EXPECT_EQ(md.size, 0u);
  EXPECT_STREQ(md.state, "inactive");
  EXPECT_EQ(machine.log_lines().size(), 1u);
}

TEST_F(mdadm_detail, long_values_are_cut) {
  const tag_md_info md =
      read("Raid Level : container\nArray Size : 1\nState : " + std::string(60, 's') + "\n");
  EXPECT_STREQ(md.level, "contain");
  EXPECT_EQ(std::string(md.state), std::string(47, 's'));
}

TEST_F(mdadm_detail, odd_output_leaves_the_defaults) {
  for (const std::string& odd : {std::string(), std::string("\0\x01\xff\n:\n", 6),
                                 std::string(100000, ':'), std::string("Raid Level")}) {
    const tag_md_info md = read(odd);
    EXPECT_STREQ(md.level, "");
    EXPECT_STREQ(md.state, "inactive");
  }
}

TEST_F(mdadm_detail, array_that_mdadm_cannot_describe_is_passed_over) {
  machine.tool("/sbin/mdadm").on("--detail /dev/md0").prints(detail_of_raid5).fails(1);
  machine.tool("/sbin/mdadm").on("--detail /dev/md1").prints(detail_of_raid5);
  md_list list;
  const tag_md_info& failed = list.add("md0");
  const tag_md_info& good = list.add("md1");
  EXPECT_EQ(get_mdinfo_from_mdadm(list.get()), ORV_OK);
  EXPECT_THAT(fields_of(failed), ElementsAre("md0", "", "inactive", "", "0", "0", "", "", ""));
  EXPECT_THAT(fields_of(good), ElementsAre("md1", "raid5", "clean, degraded, recovering", "", "2",
                                           "0", "1572864 (1536.00 MiB 1610.61 MB)", "", ""));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(StartsWith("system(\"/sbin/mdadm --detail /dev/md0 > /tmp/md0.XXXXXX\") "
                                     "return normal with exit(1) for '")));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(mdadm_detail, output_that_cannot_be_opened_ends_the_reading) {
  machine.tool("/sbin/mdadm").on("--detail /dev/md0").prints(detail_of_raid5);
  md_list list;
  list.add("md0");
  list.add("md1");
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(get_mdinfo_from_mdadm(list.get()), -1030);
  EXPECT_THAT(machine.output(), testing::MatchesRegex("cannot open /tmp/md0\\.......\n"));
  EXPECT_EQ(machine.log(), "get_mdinfo_from_mdadm:N return -1030 with Too many open files\n");
  EXPECT_EQ(machine.commands().size(), 1u);
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(mdadm_detail, names_reach_mdadm_as_one_word) {
  machine.tool("/sbin/mdadm").on("...");
  md_list list;
  list.add("md0;$(x) y'");
  list.add("md/../../etc");
  EXPECT_EQ(get_mdinfo_from_mdadm(list.get()), ORV_OK);
  EXPECT_THAT(machine.calls(),
              ElementsAre(ElementsAre("/sbin/mdadm", "--detail", "/dev/md0;$(x) y'")));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_EQ(get_mdinfo_from_mdadm(nullptr), ORV_E_FAILED);
}

TEST_F(mdadm_detail, value_is_trimmed_and_ends_at_the_next_colon) {
  EXPECT_EQ(value("   State :  clean, degraded \t\r\n", "State"),
            std::pair(0, std::string("clean, degraded")));
  EXPECT_EQ(value("State:a:b\n", "State").second, "a");
  EXPECT_EQ(value("State : clean", "State", 4).second, "cle");
  EXPECT_EQ(value("State : clean", "State", 1).second, "");
  EXPECT_EQ(value("State : clean", "State", 0).second, "before");
}

TEST_F(mdadm_detail, first_line_with_exactly_the_key_counts) {
  EXPECT_EQ(value("Array State : A\nState of it : x\nState : one\nState : two\n", "State").second,
            "one");
}

TEST_F(mdadm_detail, empty_value_is_no_failure) {
  EXPECT_EQ(value("State :\n", "State"), std::pair(0, std::string("before")));
  EXPECT_EQ(value("State :  \t \n", "State"), std::pair(0, std::string("before")));
  EXPECT_EQ(value("State\n", "State"), std::pair(0, std::string("before")));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdadm_detail, missing_key_is_logged) {
  EXPECT_EQ(value("State : clean\n", "Raid Level"), std::pair(-1031, std::string("before")));
  EXPECT_EQ(value("", "State"), std::pair(-1031, std::string("before")));
  EXPECT_EQ(value("State : clean\n", nullptr), std::pair(-1031, std::string("before")));
  char buffer[8] = "before";
  EXPECT_EQ(get_mdinfo_type(nullptr, buffer, 8, "State"), -1031);
  for (const std::string& line : machine.log_lines()) {
    EXPECT_THAT(line, StartsWith("get_mdinfo_type:N return -1031 with "));
  }
  EXPECT_EQ(machine.log_lines().size(), 4u);
  EXPECT_EQ(get_mdinfo_type(nullptr, nullptr, 8, "State"), ORV_E_FAILED);
}
