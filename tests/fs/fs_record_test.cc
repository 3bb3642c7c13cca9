#include <cstring>

#include "tests/fs/file_systems.h"

namespace {

class fs_record : public fs_test {
 protected:
  static tag_fs_info data() {
    tag_fs_info fs{};
    std::strcpy(fs.devname, "/dev/vg1/data");
    std::strcpy(fs.mountpoint, "/mnt/data");
    std::strcpy(fs.fstype, "xfs");
    std::strcpy(fs.state, "available");
    fs.size = 10240;
    fs.used = 9216;
    std::strcpy(fs.vgname, "vg1");
    std::strcpy(fs.enclosure, "0");
    return fs;
  }
};

TEST_F(fs_record, is_shown_as_one_line_without_its_type) {
  tag_fs_info fs = data();
  const std::string line = "/dev/vg1/data\t/mnt/data\tavailable\t10240M\t9216M\tvg1\t0\n";
  EXPECT_EQ(fs_conf_show(&fs), static_cast<int>(line.size()));
  EXPECT_EQ(machine.output(), line);
}

TEST_F(fs_record, shows_empty_texts_as_not_known_and_keeps_them_so) {
  tag_fs_info fs{};
  fs_conf_show(&fs);
  EXPECT_EQ(machine.output(), "\tN.A.\tN.A.\t0M\t0M\tN.A.\tN.A.\n");
  EXPECT_STREQ(fs.devname, "");
  EXPECT_STREQ(fs.mountpoint, "N.A.");
  EXPECT_STREQ(fs.state, "N.A.");
  EXPECT_STREQ(fs.vgname, "N.A.");
  EXPECT_STREQ(fs.enclosure, "N.A.");
  EXPECT_STREQ(fs.fstype, "");
}

TEST_F(fs_record, shows_nothing_used_of_no_size) {
  tag_fs_info fs = data();
  fs.size = 0;
  fs_conf_show(&fs);
  EXPECT_EQ(machine.output(), "/dev/vg1/data\t/mnt/data\tavailable\t0M\t0M\tvg1\t0\n");
  EXPECT_EQ(fs.used, 9216U);
}

TEST_F(fs_record, shows_large_figures) {
  tag_fs_info fs = data();
  fs.size = uint64_t{1} << 40;
  fs_conf_show(&fs);
  EXPECT_EQ(machine.output(),
            "/dev/vg1/data\t/mnt/data\tavailable\t1099511627776M\t9216M\tvg1\t0\n");
}

TEST_F(fs_record, that_is_missing_is_not_touched) {
  fs_conf_init(nullptr);
  fs_conf_fini(nullptr);
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(fs_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "fs_conf_show:N return -1 with Invalid argument\n");
  EXPECT_EQ(machine.output(), "");
}

}  // namespace
