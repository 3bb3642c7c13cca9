#include <cerrno>

#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class arcadm_display : public sandbox_test {
 protected:
  using parser = int(const char*, char*, int);

  /// A parser's result and text, "before" when none is written.
  static std::pair<int, std::string> parsed(parser* parse, const std::string& line, int size = 16) {
    char buffer[160] = "before";
    const int result = parse(line.c_str(), buffer, size);
    return {result, buffer};
  }
  static std::pair<int, std::string> text(const std::string& expected) { return {0, expected}; }

  int read(md_list& list, const std::string& display) {
    machine.tool("/usr/local/bin/arcadm").on("--display --scan").prints(display);
    return get_mdinfo_from_arcadm(list.get());
  }

  const std::pair<int, std::string> missing{-1, "before"};
  const std::string line = "md0 left/5 (parity)/64K/normal now/1862 GB/sdb   /slots #1 #2  #13 end";
};

TEST_F(arcadm_display, fields_end_at_their_first_blank) {
  EXPECT_EQ(parsed(get_raid_level, line), text("raid5"));
  EXPECT_EQ(parsed(get_raid_status, line), text("normal"));
  EXPECT_EQ(get_raid_size(line.c_str()), 1862u);
  EXPECT_EQ(parsed(get_raid_device, line), text("sdb"));
  EXPECT_EQ(parsed(get_raid_disks, line), text("1,2,13"));
}

TEST_F(arcadm_display, fields_end_at_the_next_slash) {
  const std::string tight = "md0/1/64K/normal/931/sdc/#4#5/#6";
  EXPECT_EQ(parsed(get_raid_level, tight), text("raid1"));
  EXPECT_EQ(parsed(get_raid_status, tight), text("normal"));
  EXPECT_EQ(get_raid_size(tight.c_str()), 931u);
  EXPECT_EQ(parsed(get_raid_device, tight), text("sdc"));
  EXPECT_EQ(parsed(get_raid_disks, tight), text("4#5"));
}

TEST_F(arcadm_display, values_are_cut_to_the_buffer) {
  EXPECT_EQ(parsed(get_raid_level, line, 5), text("raid"));
  EXPECT_EQ(parsed(get_raid_status, line, 4), text("nor"));
  EXPECT_EQ(parsed(get_raid_disks, line, 4), text("1,2"));
  EXPECT_EQ(parsed(get_raid_device, line, 1), text(""));
  EXPECT_EQ(parsed(get_raid_device, line, 0), text("before"));
}

TEST_F(arcadm_display, array_without_channels_has_an_empty_list) {
  EXPECT_EQ(parsed(get_raid_disks, "md0/5/64K/normal/1/sdb/none"), text(""));
  EXPECT_EQ(parsed(get_raid_disks, "md0/5/64K/normal/1/sdb/ "), text(""));
}

TEST_F(arcadm_display, missing_fields_leave_the_buffer) {
  for (const std::string shorter : {"", "md0", "md0/"}) {
    EXPECT_EQ(parsed(get_raid_level, shorter), missing) << shorter;
    EXPECT_EQ(parsed(get_raid_status, shorter), missing) << shorter;
    EXPECT_EQ(parsed(get_raid_device, shorter), missing) << shorter;
    EXPECT_EQ(parsed(get_raid_disks, shorter), missing) << shorter;
    EXPECT_EQ(get_raid_size(shorter.c_str()), UINT64_MAX) << shorter;
  }
  EXPECT_EQ(parsed(get_raid_disks, "md0/5/64K/normal/1/sdb"), missing);
  EXPECT_EQ(parsed(get_raid_device, "md0/5/64K/normal/1"), missing);
  EXPECT_EQ(get_raid_size("md0/5/64K/normal"), UINT64_MAX);
  EXPECT_EQ(parsed(get_raid_status, "md0/5/64K"), missing);
}

TEST_F(arcadm_display, size_is_a_number_whatever_follows_it) {
  EXPECT_EQ(get_raid_size("md0/5/64K/normal/931.5GB"), 931u);
  EXPECT_EQ(get_raid_size("md0/5/64K/normal/N.A."), 0u);
  EXPECT_EQ(get_raid_size("md0/5/64K/normal/99999999999999999999"), UINT64_MAX);
}

TEST_F(arcadm_display, null_arguments_are_refused) {
  char buffer[8] = "before";
  for (parser* parse : {&get_raid_level, &get_raid_status, &get_raid_device,
                        static_cast<parser*>(&get_raid_disks)}) {
    EXPECT_EQ(parse(nullptr, buffer, 8), -1);
    EXPECT_EQ(parse(line.c_str(), nullptr, 8), ORV_E_FAILED);
  }
  EXPECT_STREQ(buffer, "before");
  EXPECT_EQ(get_raid_size(nullptr), UINT64_MAX);
}

TEST_F(arcadm_display, ruler_consists_of_equal_signs_only) {
  EXPECT_EQ(isequal("===="), 1);
  EXPECT_EQ(isequal(""), 1);
  EXPECT_EQ(isequal(nullptr), 1);
  EXPECT_EQ(isequal("== =="), 0);
  EXPECT_EQ(isequal("===-"), 0);
}

TEST_F(arcadm_display, arrays_stand_below_the_ruler) {
  md_list list;
  EXPECT_EQ(read(list,
                 "md9 /5 /64K /normal /1 /sdz /#9\n"
                 "Name /Level /Stripe /State /Capacity /Device /Member disks\n"
                 "\n"
                 "  ===========  \n"
                 " md0 /5 /64K /normal /1862 GB /sdb / #1 #2 #3\n"
                 "   \n"
                 "sd0 /5 /64K /normal /1862 GB /sdb / #1 #2 #3\n"
                 "===========\n"
                 "md1 /linear-like /64K /degraded\n"),
            ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md0", "md1"));
  const tag_md_info& first = *list.records()[0];
  EXPECT_STREQ(first.level, "raid5");
  EXPECT_STREQ(first.state, "normal");
  EXPECT_EQ(first.size, 1862u);
  EXPECT_STREQ(first.enclosure, "sdb");
  EXPECT_STREQ(first.disks, "1,2,3");
  const tag_md_info& second = *list.records()[1];
  EXPECT_STREQ(second.level, "raidlin");
  EXPECT_STREQ(second.state, "degraded");
  EXPECT_STREQ(second.enclosure, "");
  EXPECT_STREQ(second.disks, "");
}

TEST_F(arcadm_display, captured_display_stays_in_tmp) {
  md_list list;
  EXPECT_EQ(read(list, "====\n"), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/usr/local/bin/arcadm --display --scan > /tmp/mdstat.XXXXXX"));
  ASSERT_EQ(machine.temp_files().size(), 1u);
  EXPECT_THAT(machine.temp_files()[0], StartsWith("mdstat."));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(arcadm_display, odd_output_is_survived) {
  md_list list;
  EXPECT_EQ(read(list, ""), ORV_OK);
  EXPECT_EQ(read(list, "md0 /5 /64K\n"), ORV_OK);
  EXPECT_EQ(read(list, std::string("\0\xff\n", 3) + std::string(100000, '/')), ORV_OK);
  EXPECT_THAT(list.names(), IsEmpty());
  EXPECT_EQ(read(list, "==\nmd" + std::string(100000, '/') + "5\nmd" + std::string(300, '1')),
            ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md" + std::string(29, '/'), "md" + std::string(29, '1')));
}

TEST_F(arcadm_display, failure_of_the_tool_is_logged_and_leaves_no_file) {
  machine.tool("/usr/local/bin/arcadm").on("--display --scan").fails(5);
  md_list list;
  EXPECT_EQ(get_mdinfo_from_arcadm(list.get()), -11000);
  EXPECT_THAT(machine.log(), StartsWith("system(\"/usr/local/bin/arcadm --display --scan > "
                                        "/tmp/mdstat.XXXXXX\") return normal with exit(5) for '"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_EQ(get_mdinfo_from_arcadm(nullptr), ORV_E_FAILED);
}

TEST_F(arcadm_display, output_that_cannot_be_opened_is_logged) {
  md_list list;
  machine.fail("fopen", EACCES);
  EXPECT_EQ(read(list, "====\n"), -1030);
  EXPECT_EQ(machine.log(), "get_mdinfo_from_arcadm:N return -1030 with Permission denied\n");
  EXPECT_EQ(machine.output(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}
