#include "tests/share/discovery.h"

using testing::ElementsAre;

namespace {

constexpr uint64_t kib = 1024;

class share_space : public discovery_test {
 protected:
  /// "SIZE USED" of a share on a file system of these figures.
  std::string space_of(const sandbox::disk_space& space) {
    machine.statfs("/mnt/s", space);
    share_list one;
    one.add(a_share("s"));
    EXPECT_EQ(get_shareinfo_from_df(one.get()), ORV_OK);
    EXPECT_EQ(machine.log(), "");
    EXPECT_EQ(machine.output(), "");
    return std::to_string(one.only().size) + ' ' + std::to_string(one.only().used);
  }

  /// A share with the figures 7 and 5 that has no other ones in the end.
  void expect_no_figures(const tag_share_config& share) {
    EXPECT_EQ(share.size, 7U) << share.name;
    EXPECT_EQ(share.used, 5U) << share.name;
  }
  tag_share_config& add_measured(const std::string& service, const std::string& path) {
    tag_share_config& share = add("s", service, path);
    share.size = 7;
    share.used = 5;
    return share;
  }
};

TEST_F(share_space, is_told_in_gb_and_units_of_10_mib) {
  // 100 GiB, of which 25 GiB are used.
  EXPECT_EQ(space_of({.block_size = 4096, .blocks = 26214400, .available = 19660800}), "100 2560");
}

TEST_F(share_space, counts_reserved_blocks_as_used) {
  EXPECT_EQ(
      space_of({.block_size = 4096, .blocks = 26214400, .available = 0, .reserved = 26214400}),
      "100 10240");
}

TEST_F(share_space, is_rounded_to_the_nearest_gb) {
  EXPECT_EQ(space_of({.block_size = 1024, .blocks = 512 * kib - 1, .available = 512 * kib - 1}),
            "0 0");
  EXPECT_EQ(space_of({.block_size = 1024, .blocks = 512 * kib, .available = 512 * kib}), "1 0");
  EXPECT_EQ(space_of({.block_size = 1024, .blocks = 1536 * kib - 1, .available = 1536 * kib - 1}),
            "1 0");
}

TEST_F(share_space, is_used_to_the_nearest_unit) {
  const uint64_t blocks = 1024 * kib;
  EXPECT_EQ(space_of({.block_size = 1024, .blocks = blocks, .available = blocks - 5119}), "1 0");
  EXPECT_EQ(space_of({.block_size = 1024, .blocks = blocks, .available = blocks - 5120}), "1 1");
  EXPECT_EQ(space_of({.block_size = 1024, .blocks = blocks, .available = blocks - 15359}), "1 1");
  EXPECT_EQ(space_of({.block_size = 1024, .blocks = blocks, .available = blocks - 15360}), "1 2");
}

TEST_F(share_space, is_counted_in_whole_kib_of_a_block) {
  EXPECT_EQ(space_of({.block_size = 1536, .blocks = 1024 * kib, .available = 0}), "1 102");
  EXPECT_EQ(space_of({.block_size = 512, .blocks = 100 * kib * kib, .available = 0}), "0 0");
}

TEST_F(share_space, of_large_file_systems_fits) {
  EXPECT_EQ(space_of({.block_size = 65536, .blocks = uint64_t{1} << 40, .available = 0}),
            "67108864 6871947674");
}

TEST_F(share_space, is_never_used_below_nothing) {
  EXPECT_EQ(space_of({.block_size = 4096, .blocks = 26214400, .available = 26214401}), "100 0");
}

TEST_F(share_space, is_shown_in_gb) {
  machine.statfs("/mnt/s", {.block_size = 4096, .blocks = 26214400, .available = 19660800});
  add("s", "samba", "/mnt/s");
  after(get_shareinfo_from_df);
  share_list_show(list.get());
  EXPECT_EQ(machine.output(), "s\tsamba\t/mnt/s\t*\trw\t100GB\t25.00GB\t(Null)\tN.A.\n");
}

TEST_F(share_space, of_volumes_and_of_shares_without_figures_stays_and_is_reported) {
  machine.statfs("/mnt/v", {.block_size = 4096, .blocks = 26214400, .available = 0});
  for (const char* service : {"iSCSI", "iscsi", "ISCSI"}) add_measured(service, "/mnt/v");
  add_measured("samba", "");
  add_measured("samba", "/mnt/none");
  after(get_shareinfo_from_df);
  for (const tag_share_config* share : list.records()) expect_no_figures(*share);
  EXPECT_EQ(machine.output(),
            "filesystem /mnt/v cannot statfs\nfilesystem /mnt/v cannot statfs\n"
            "filesystem /mnt/v cannot statfs\nfilesystem  cannot statfs\n"
            "filesystem /mnt/none cannot statfs\n");
}

TEST_F(share_space, of_every_other_share_is_measured_whatever_its_service) {
  machine.statfs("/mnt/v", {.block_size = 4096, .blocks = 26214400, .available = 26214400});
  add_measured("samba", "/mnt/none");
  for (const char* service : {"", "nfs", "ftp", "samba,iSCSI"}) add_measured(service, "/mnt/v");
  after(get_shareinfo_from_df);
  expect_no_figures(*list.records()[0]);
  for (std::size_t i = 1; i < 5; ++i) {
    EXPECT_EQ(list.records()[i]->size, 100U);
    EXPECT_EQ(list.records()[i]->used, 0U);
  }
}

TEST_F(share_space, of_a_path_that_fills_its_field_is_measured) {
  const std::string path = '/' + std::string(126, 'p');
  machine.statfs(path, {.block_size = 4096, .blocks = 26214400, .available = 26214400});
  add("s", "samba", path);
  after(get_shareinfo_from_df);
  EXPECT_EQ(list.only().size, 100U);
}

TEST_F(share_space, refuses_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_df, "get_shareinfo_from_df");
}

}  // namespace
