#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tests/fs/file_systems.h"
#include "tests/sandbox/bend.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char mounted[] = "/mnt/data";
constexpr sandbox::disk_space half_free{
    .block_size = 4096, .blocks = 2621440, .available = 1310720};

class usage : public fs_test {
 protected:
  usage() { fs().size = 7; }
  void TearDown() override {
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  tag_fs_info& fs() { return list_.records().empty() ? add(mounted) : *list_.records().front(); }
  tag_fs_info& add(const std::string& mountpoint) {
    tag_fs_info& fs = list_.add("/dev/vg1/data", mountpoint);
    std::string("available").copy(fs.state, sizeof fs.state);
    return fs;
  }
  void measure() {
    EXPECT_EQ(get_usedsize_from_df(list_.get()), ORV_OK);
    EXPECT_EQ(machine.log(), "");
  }
  /// A file system of these figures on a directory that can be written.
  void measure(const sandbox::disk_space& space) {
    machine.directory(mounted);
    machine.statfs(mounted, space);
    measure();
  }
  void expect_figures(uint64_t size, uint64_t used) {
    EXPECT_EQ(fs().size, size);
    EXPECT_EQ(fs().used, used);
  }

 private:
  fs_list list_;
};

TEST_F(usage, is_counted_in_mib_and_counts_reserved_blocks_as_used) {
  measure({.block_size = 4096, .blocks = 2621440, .available = 262144, .reserved = 131072});
  expect_figures(10240, 9216);
  EXPECT_STREQ(fs().state, "available");
  EXPECT_THAT(machine.list(mounted), IsEmpty());
  EXPECT_EQ(machine.output(), "");
}

TEST_F(usage, rounds_down) {
  measure({.block_size = 1024, .blocks = 10 * 1024 + 1023, .available = 5 * 1024 + 1});
  expect_figures(10, 5);
}

TEST_F(usage, counts_whole_kib_of_a_block) {
  measure({.block_size = 1536, .blocks = 4096, .available = 4096});
  expect_figures(4, 0);
}

TEST_F(usage, of_blocks_below_1_kib_is_nothing) {
  measure({.block_size = 512, .blocks = 2621440, .available = 262144});
  expect_figures(0, 0);
}

TEST_F(usage, of_large_file_systems_fits) {
  measure({.block_size = 65536, .blocks = uint64_t{1} << 40, .available = uint64_t{1} << 39});
  expect_figures(uint64_t{1} << 36, uint64_t{1} << 35);
}

TEST_F(usage, is_never_below_nothing) {
  measure({.block_size = 4096, .blocks = 2621440, .available = 2621441});
  expect_figures(10240, 0);
}

TEST_F(usage, of_a_missing_mount_point_stays_as_it_was) {
  measure();
  EXPECT_STREQ(fs().state, "not available");
  expect_figures(7, 0);
}

TEST_F(usage, of_an_empty_mount_point_is_reported_and_the_next_one_measured) {
  fs().mountpoint[0] = '\0';
  const tag_fs_info& second = add("/mnt/second");
  machine.directory("/mnt/second");
  machine.statfs("/mnt/second", half_free);
  measure();
  EXPECT_EQ(machine.output(), "filesystem  cannot statfs\n");
  EXPECT_STREQ(fs().state, "available");
  expect_figures(7, 0);
  EXPECT_EQ(second.size, 10240U);
}

TEST_F(usage, of_every_record_is_measured) {
  fs();
  const tag_fs_info& second = add("/mnt/second");
  machine.directory("/mnt/second");
  machine.statfs("/mnt/second", half_free);
  measure();
  EXPECT_STREQ(fs().state, "not available");
  EXPECT_STREQ(second.state, "available");
}

TEST_F(usage, refuses_a_missing_list) {
  EXPECT_EQ(get_usedsize_from_df(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "get_usedsize_from_df:N return -1 with Invalid argument\n");
}

class write_probe : public usage {
 protected:
  /// Measures a read-only file system of these figures: a probe must fail.
  void measure_read_only(const sandbox::disk_space& space) {
    machine.mount_tmpfs(mounted);
    machine.remount_read_only(mounted);
    machine.statfs(mounted, space);
    usage::measure();
  }
};

TEST_F(write_probe, finds_a_read_only_file_system_with_free_space) {
  measure_read_only(half_free);
  EXPECT_STREQ(fs().state, "not available");
  expect_figures(10240, 5120);
}

TEST_F(write_probe, is_not_made_on_a_full_file_system) {
  measure_read_only({.block_size = 1048576, .blocks = 100, .available = 0});
  EXPECT_STREQ(fs().state, "available");
}

TEST_F(write_probe, is_not_made_when_one_mib_is_free) {
  measure_read_only({.block_size = 1048576, .blocks = 100, .available = 1});
  EXPECT_STREQ(fs().state, "available");
}

TEST_F(write_probe, is_made_when_two_mib_are_free) {
  measure_read_only({.block_size = 1048576, .blocks = 100, .available = 2});
  EXPECT_STREQ(fs().state, "not available");
}

TEST_F(write_probe, leaves_the_state_of_a_writable_file_system_alone) {
  std::strcpy(fs().state, "umount");
  measure(half_free);
  EXPECT_STREQ(fs().state, "umount");
}

TEST_F(write_probe, finds_a_file_system_without_room_for_it_and_removes_what_it_made) {
  machine.mount_tmpfs(mounted, "size=4k");
  machine.file(std::string(mounted) + "/users", std::string(4096, 'u'));
  measure(half_free);
  EXPECT_STREQ(fs().state, "not available");
  EXPECT_THAT(machine.list(mounted), ElementsAre("users"));
}

TEST_F(write_probe, finds_a_file_system_without_room_for_another_file) {
  machine.mount_tmpfs(mounted, "nr_inodes=2");
  machine.file(std::string(mounted) + "/users", "u");
  measure(half_free);
  EXPECT_STREQ(fs().state, "not available");
  EXPECT_THAT(machine.list(mounted), ElementsAre("users"));
}

TEST_F(write_probe, is_a_file_named_test_with_its_text_and_the_nul) {
  sandbox::lines probes;
  sandbox::before("unlink", [&] {
    for (const std::string& name : machine.list(mounted)) {
      probes.push_back(name + '|' + machine.read(std::string(mounted) + '/' + name));
    }
  });
  measure(half_free);
  EXPECT_THAT(probes, ElementsAre(std::string("test|test fs\0", 13)));
  EXPECT_THAT(machine.list(mounted), IsEmpty());
}

/// No file of this process grows above a size.
class file_size_limit {
 public:
  explicit file_size_limit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~file_size_limit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  file_size_limit(const file_size_limit&) = delete;
  file_size_limit& operator=(const file_size_limit&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_{};
};

TEST_F(write_probe, writes_8_bytes) {
  machine.directory(mounted);
  machine.statfs(mounted, half_free);
  fs_list list;
  list.add("/dev/vg1/data", mounted);
  {
    const file_size_limit eight(8);
    EXPECT_EQ(get_usedsize_from_df(list.get()), ORV_OK);
  }
  EXPECT_STREQ(list.only().state, "");
  {
    const file_size_limit seven(7);
    EXPECT_EQ(get_usedsize_from_df(list.get()), ORV_OK);
  }
  EXPECT_STREQ(list.only().state, "not available");
  EXPECT_THAT(machine.list(mounted), IsEmpty());
}

TEST_F(write_probe, leaves_a_users_file_of_its_name_alone) {
  machine.file(std::string(mounted) + "/test", "a user's", 0604);
  measure(half_free);
  EXPECT_STREQ(fs().state, "available");
  EXPECT_EQ(machine.read(std::string(mounted) + "/test"), "a user's");
  EXPECT_EQ(machine.mode(std::string(mounted) + "/test"), 0604U);
  EXPECT_THAT(machine.list(mounted), ElementsAre("test"));
}

TEST_F(write_probe, follows_no_link) {
  machine.file("/etc/precious", "kept");
  machine.link(std::string(mounted) + "/test", "/etc/precious");
  measure(half_free);
  EXPECT_STREQ(fs().state, "available");
  EXPECT_EQ(machine.read("/etc/precious"), "kept");
  EXPECT_THAT(machine.list(mounted), ElementsAre("test"));
}

TEST_F(write_probe, makes_nothing_behind_a_dangling_link) {
  machine.link(std::string(mounted) + "/test", "/etc/made");
  measure(half_free);
  EXPECT_FALSE(machine.exists("/etc/made"));
  EXPECT_TRUE(machine.exists(std::string(mounted) + "/test"));
}

TEST_F(write_probe, leaves_a_users_directory_of_its_name_alone) {
  machine.file(std::string(mounted) + "/test/inside", "kept");
  measure(half_free);
  EXPECT_STREQ(fs().state, "available");
  EXPECT_THAT(machine.list(mounted), ElementsAre("test"));
  EXPECT_THAT(machine.list(std::string(mounted) + "/test"), ElementsAre("inside"));
}

TEST_F(write_probe, finds_a_read_only_file_system_where_a_user_has_a_file_of_its_name) {
  machine.mount_tmpfs(mounted);
  machine.file(std::string(mounted) + "/test", "a user's");
  machine.remount_read_only(mounted);
  machine.statfs(mounted, half_free);
  usage::measure();
  EXPECT_STREQ(fs().state, "not available");
}

TEST_F(write_probe, fails_where_the_mount_point_is_a_file) {
  machine.file(mounted, "a file");
  machine.statfs(mounted, half_free);
  usage::measure();
  EXPECT_STREQ(fs().state, "not available");
  EXPECT_EQ(machine.read(mounted), "a file");
}

}  // namespace
