#include "tests/disk/machine_with_disks.h"

class channels : public disk_test {
 protected:
  channels() {
    add("sda", 1, "0");
    add("sdb", 2, "0");
    add("sdc", 3, "0");
    add("sdd", 1, "3");
    add("sdk", 11, "0");
  }

  /// The result of a translation and what became of the list.
  std::string translated(const std::string& chlist, const char* enclosure, int expected) {
    char text[256];
    liborv_strncpy(text, sizeof text, chlist.c_str());
    const int found = trans_ch_disk(&list, text, enclosure, expected);
    return std::to_string(found) + " " + text;
  }

  static std::string paths(const std::string& names) {
    char text[256];
    liborv_strncpy(text, sizeof text, names.c_str());
    EXPECT_EQ(trans_disk_dev(text), text);
    return text;
  }
};

TEST_F(channels, compare_as_whole_items) {
  EXPECT_EQ(disk_ch_cmp(1, "1"), 1);
  EXPECT_EQ(disk_ch_cmp(1, "3,1"), 1);
  EXPECT_EQ(disk_ch_cmp(12, "11,12"), 1);
  EXPECT_EQ(disk_ch_cmp(-7, "-7"), 1);
  for (const char* other : {"", ",", "11,12", "2", "01", "1a", " 1", "+1", "1.0", "a"}) {
    EXPECT_EQ(disk_ch_cmp(1, other), 0) << other;
  }
  EXPECT_EQ(disk_ch_cmp(0, ",,"), 0);
  EXPECT_EQ(disk_ch_cmp(1, nullptr), 0);
}

TEST_F(channels, become_names_in_the_order_of_the_disks) {
  EXPECT_EQ(translated("3,1", "0", 2), "2 sda,sdc");
  EXPECT_EQ(translated("11", "0", 1), "1 sdk");
}

TEST_F(channels, belong_to_one_enclosure) {
  EXPECT_EQ(translated("1", "3", 1), "1 sdd");
  EXPECT_EQ(translated("2", "3", 1), "0 2");
  EXPECT_EQ(translated("1", "", 1), "0 1");
  EXPECT_EQ(translated("1", nullptr, 1), "0 1");
}

TEST_F(channels, stay_as_they_are_when_not_all_are_found) {
  EXPECT_EQ(translated("1,9", "0", 2), "1 1,9");
  EXPECT_EQ(translated("1,2,3", "0", 2), "3 1,2,3");
  EXPECT_EQ(translated("99999999999", "0", 1), "0 99999999999");
  EXPECT_EQ(translated("1;reboot", "0", 1), "0 1;reboot");
  EXPECT_EQ(translated("$(reboot)\n", "0", 1), "0 $(reboot)\n");
}

TEST_F(channels, named_twice_are_one_disk) {
  EXPECT_EQ(translated("1,1", "0", 2), "1 1,1");
  EXPECT_EQ(translated("1,,2", "0", 2), "2 sda,sdb");
}

TEST_F(channels, of_two_disks_are_not_one) {
  add("sdx", 1, "0");
  EXPECT_EQ(translated("1", "0", 1), "2 1");
}

TEST_F(channels, list_without_items_names_no_disk) {
  EXPECT_EQ(translated("", "0", 0), "0 ");
  EXPECT_EQ(translated(",,", "0", 0), "0 ");
  EXPECT_EQ(translated(",,", "0", 1), "0 ,,");
}

TEST_F(channels, of_nameless_disks_become_empty_names) {
  disk_list_fini(&list);
  for (const int ch : {1, 2, 3}) add("", ch, "0");
  EXPECT_EQ(translated("1", "0", 1), "1 ");
  EXPECT_EQ(translated("1,2,3", "0", 3), "3 ,,");
}

TEST_F(channels, whose_names_do_not_fit_the_buffer_are_not_found) {
  disk_list_fini(&list);
  for (int i = 0; i < 40; ++i) add("sdabcde", 1, "0");
  EXPECT_EQ(translated("1", "0", 40), "31 1");
}

TEST_F(channels, need_disks_and_a_list) {
  char text[256] = "1";
  EXPECT_EQ(trans_ch_disk(nullptr, text, "0", 1), ORV_E_FAILED);
  EXPECT_EQ(trans_ch_disk(&list, nullptr, "0", 1), ORV_E_FAILED);
  EXPECT_STREQ(text, "1");
  EXPECT_EQ(machine.log(),
            "trans_ch_disk:N return -1 with Invalid argument\n"
            "trans_ch_disk:N return -1 with Invalid argument\n");
}

TEST_F(channels, are_digits_and_commas) {
  for (const char* list_of_channels : {"", "1", "1,2,16", ",", ",,", "99999999999"}) {
    EXPECT_EQ(is_channelID(list_of_channels), 1) << list_of_channels;
  }
  for (const char* other : {"1,a", "md0", "1 2", "-1", "1;", "1\n", "1,$(reboot)", "\xb2"}) {
    EXPECT_EQ(is_channelID(other), 0) << other;
  }
  EXPECT_EQ(is_channelID(nullptr), 1);
}

TEST_F(channels, disk_names_become_paths) {
  EXPECT_EQ(paths("sda"), "/dev/sda");
  EXPECT_EQ(paths("sda,sdb"), "/dev/sda /dev/sdb");
  EXPECT_EQ(paths(",sda,,sdb,"), "/dev/sda /dev/sdb");
  EXPECT_EQ(paths(""), "");
  EXPECT_EQ(paths(",,"), "");
  EXPECT_EQ(trans_disk_dev(nullptr), nullptr);
}

TEST_F(channels, paths_of_sixteen_members_fit) {
  std::string names, expected;
  for (char c = 'a'; c < 'q'; ++c) {
    names += std::string(names.empty() ? "" : ",") + "sda" + c;
    expected += std::string(expected.empty() ? "" : " ") + "/dev/sda" + c;
  }
  EXPECT_EQ(paths(names), expected);
}

TEST_F(channels, path_that_does_not_fit_the_buffer_is_left_out_whole) {
  std::string names;
  for (int i = 0; i < 51; ++i) names += "sdaa,";
  ASSERT_EQ(names.size(), 255U);
  const std::string result = paths(names);
  // 25 paths and the blanks between them have 249 characters; one more would have 259.
  EXPECT_EQ(result.size(), 249U);
  EXPECT_TRUE(result.ends_with(" /dev/sdaa"));
}
