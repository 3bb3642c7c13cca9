#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;

class vgdisplay : public storage_machine {
 protected:
  int get() { return get_vginfo_from_vgdisplay(groups.get()); }
  tag_vg_info& only() {
    EXPECT_EQ(names().size(), 1U);
    return *groups.begin();
  }
  sandbox::lines names() {
    sandbox::lines all;
    for (const tag_vg_info& vg : groups) all.emplace_back(vg.vgname);
    return all;
  }
  void status(int flags) {
    canned("vgdisplay",
           "  vg0:r/w:" + std::to_string(flags) + ":-1:0:0:0:-1:0:1:1:1:4096:1:0:1:u\n");
  }

  orv::scoped_list<tag_vginfo_list> groups;
};

TEST_F(vgdisplay, reads_name_flags_and_sizes_of_an_indented_line) {
  canned("vgdisplay", "  vg0:r/w:772:-1:0:0:0:-1:0:1:1:536346624:4096:130944:64000:66944:uuid\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().vgname, "vg0");
  EXPECT_STREQ(only().attr, "resizable");
  EXPECT_STREQ(only().enclosure, "");
  EXPECT_EQ(only().size, 511U);  // 511.5 GiB, truncated
  EXPECT_EQ(only().used, 250U);
  EXPECT_TRUE(orv::is_empty(&only().pvs));
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX"));
  EXPECT_THAT(machine.temp_files(), ElementsAre());
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(vgdisplay, truncates_the_used_size) {
  canned("vgdisplay", "vg0:r/w:772:-1:0:0:0:-1:0:1:1:1048575:4096:255:255:0:uuid\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(only().size, 0U);
  EXPECT_EQ(only().used, 0U);
}

TEST_F(vgdisplay, takes_a_used_size_that_does_not_fit_for_the_largest) {
  canned("vgdisplay", "vg0:r/w:4:-1:0:0:0:-1:0:1:1:1048576:4194304:0:4398046511104:0:uuid\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(only().used, 17592186044415U);  // 2^64 KiB would wrap to nothing used
}

TEST_F(vgdisplay, tells_exported_and_resizable_groups) {
  const std::pair<int, const char*> attrs[] = {{0, "not resizable"},
                                               {2, "exported/not resizable"},
                                               {4, "resizable"},
                                               {6, "exported/resizable"},
                                               {774, "exported/resizable"}};
  for (const auto& [flags, attr] : attrs) {
    status(flags);
    EXPECT_EQ(get(), ORV_OK);
    EXPECT_STREQ(only().attr, attr) << flags;
    vg_list_fini(groups.get());
  }
}

TEST_F(vgdisplay, lists_groups_in_the_order_of_the_tool_behind_those_already_listed) {
  group("vg1");
  group("vg0");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre("vg1", "vg0", "vg1", "vg0"));
}

TEST_F(vgdisplay, lists_nothing_on_a_machine_without_groups) {
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre());
}

TEST_F(vgdisplay, skips_lines_without_columns) {
  canned("vgdisplay", "\n  \n::\n  No volume groups found\n  vg0\n  vg1:\nvg2:r/w");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre("vg1", "vg2"));
}

TEST_F(vgdisplay, keeps_zeroes_for_columns_that_a_cut_line_lacks) {
  canned("vgdisplay", "  vg0:r/w:772:-1:0:0:0:-1:0:1:1:2097152:40");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(only().size, 2U);
  EXPECT_EQ(only().used, 0U);
}

TEST_F(vgdisplay, counts_a_run_of_colons_as_one) {
  canned("vgdisplay", "  vg0::6:-1:0:0:0:-1:0:1:1:1048576:4096:0:0:0:uuid\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().attr, "not resizable");  // column 2 is now "-1"
  EXPECT_EQ(only().size, 0U);                  // and column 11 the extent size
}

TEST_F(vgdisplay, cuts_a_name_that_is_too_long) {
  canned("vgdisplay", std::string(40, 'v') + ":r/w:4:\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(only().vgname, std::string(32, 'v'));
}

TEST_F(vgdisplay, takes_a_very_long_line_by_its_first_255_characters) {
  canned("vgdisplay", std::string(100000, 'v') + ":r/w:4:\n" +
                          "vg1:r/w:4:" + std::string(100000, '1') + ":a:b\nvg2:r/w:4:\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre("vg1", "vg2"));
}

TEST_F(vgdisplay, sees_the_255th_character_of_a_line_but_not_the_next) {
  canned("vgdisplay", std::string(254, 'v') + ":\n" + std::string(255, 'w') + ":\n" +
                          std::string(256, 'x') + ":\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre(std::string(32, 'v')));
}

TEST_F(vgdisplay, survives_binary_output) {
  std::string noise;
  for (int i = 0; i < 5000; ++i) noise += static_cast<char>(i * 37 % 256);
  canned("vgdisplay", noise + "\nvg0:r/w:4:\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(names().back(), "vg0");
}

TEST_F(vgdisplay, fails_with_its_tool) {
  fails_to_list("vgdisplay");
  EXPECT_EQ(get(), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX")));
  EXPECT_THAT(machine.temp_files(), ElementsAre());
}

TEST_F(vgdisplay, runs_nothing_without_a_temporary_file) {
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(get(), -11000);
  EXPECT_THAT(machine.commands(), ElementsAre());
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(command_not_run("/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX",
                                          "No space left on device")));
}

TEST_F(vgdisplay, leaves_the_output_in_place_when_it_cannot_be_opened_or_examined) {
  for (const char* function : {"fopen", "fstat"}) {
    machine.forget();
    machine.fail(function, EIO, 1);
    EXPECT_EQ(get(), -1040);
    EXPECT_THAT(machine.log_lines(),
                ElementsAre("get_vginfo_from_vgdisplay:N return 0 with Input/output error"));
  }
  EXPECT_THAT(machine.output(),
              testing::MatchesRegex("(cannot open /tmp/vgdisplay\\.[A-Za-z0-9]{6}\n)+"));
  EXPECT_THAT(machine.temp_files(), ElementsAre("vgdisplay.XXXXXX", "vgdisplay.XXXXXX"));
  EXPECT_THAT(machine.open_descriptors(), ElementsAre());
}

TEST_F(vgdisplay, needs_a_list) {
  EXPECT_EQ(get_vginfo_from_vgdisplay(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("get_vginfo_from_vgdisplay:N return -1 with Invalid argument"));
}
