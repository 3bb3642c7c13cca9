#include <limits>

#include "tests/share/discovery.h"

using testing::ElementsAre;

namespace {

constexpr uint64_t marked = std::numeric_limits<uint64_t>::max();
constexpr char unmounted[] = "Filesystem unmounted";

class mounted_shares : public discovery_test {
 protected:
  /// A table of mounts on these directories.
  void mounts(const sandbox::lines& directories) {
    std::string text;
    for (const std::string& directory : directories)
      text += "/dev/x " + directory + " xfs rw 0 0\n";
    machine.file("/proc/mounts", text);
  }

  /// "NAME PATH" of the shares that are marked as mounted; the others are as unmounted ones are.
  sandbox::lines mounted() {
    EXPECT_EQ(get_shareinfo_from_mount(list.get()), ORV_OK);
    EXPECT_EQ(machine.log(), "");
    sandbox::lines all;
    for (const tag_share_config* share : list.records()) {
      if (share->used == marked) {
        all.push_back(std::string(share->name) + ' ' + share->path);
        EXPECT_STREQ(share->comment, "");
      } else {
        EXPECT_STREQ(share->comment, unmounted) << share->name;
        EXPECT_EQ(share->used, 0U) << share->name;
      }
    }
    return all;
  }
};

TEST_F(mounted_shares, are_called_like_their_mount_point) {
  add("photos", "samba", "/elsewhere");
  add("films", "nfs", "/mnt/films").used = 12;
  add("music", "", "");
  mounts({"/", "/mnt/photos", "/mnt/pool/music"});
  EXPECT_THAT(mounted(), ElementsAre("photos /mnt/photos", "music /mnt/pool/music"));
  EXPECT_STREQ(list.records()[1]->path, "/mnt/films");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(mounted_shares, have_exactly_the_name) {
  for (const char* name : {"Data", "dat", "data2", "mnt", "/mnt/data"}) add(name, "samba");
  mounts({"/mnt/data", "/mnt/data/sub"});
  EXPECT_THAT(mounted(), ElementsAre());
}

TEST_F(mounted_shares, of_one_name_are_only_the_first) {
  add("data", "samba");
  add("data", "nfs");
  mounts({"/mnt/data"});
  EXPECT_THAT(mounted(), ElementsAre("data /mnt/data"));
}

TEST_F(mounted_shares, get_the_path_of_the_last_mount_of_their_name) {
  add("data", "samba");
  mounts({"/mnt/a/data", "/mnt/b/data"});
  EXPECT_THAT(mounted(), ElementsAre("data /mnt/b/data"));
}

TEST_F(mounted_shares, may_have_blanks_in_their_names) {
  add("my disk", "samba");
  mounts({"/mnt/my\\040disk"});
  EXPECT_THAT(mounted(), ElementsAre("my disk /mnt/my disk"));
}

TEST_F(mounted_shares, have_a_path_that_fits) {
  add("data", "samba");
  mounts({'/' + std::string(200, 'd') + "/data"});
  EXPECT_THAT(mounted(), ElementsAre("data /" + std::string(126, 'd')));
}

TEST_F(mounted_shares, without_a_name_are_called_like_the_root) {
  add("", "samba");
  mounts({"/"});
  EXPECT_THAT(mounted(), ElementsAre(" /"));
}

TEST_F(mounted_shares, are_found_between_broken_lines) {
  add("data", "samba");
  machine.file("/proc/mounts", "word\n\n" + std::string(100000, 'x') +
                                   " /mnt/x\nover /mnt/o overlay " + std::string(5000, 'o') +
                                   " 0 0\n/dev/a /mnt/data");
  EXPECT_THAT(mounted(), ElementsAre("data /mnt/data"));
}

TEST_F(mounted_shares, are_those_of_a_captured_table) {
  for (const char* name : {"data", "with blank", "backup-1", "vg1-data"}) add(name, "samba");
  machine.file("/proc/mounts", fixture("proc/mounts.txt"));
  EXPECT_THAT(mounted(), ElementsAre("data /mnt/data", "with blank /mnt/with blank"));
}

TEST_F(mounted_shares, are_none_in_an_empty_table) {
  add("data", "samba", "/mnt/data");
  add("volume", "iSCSI", "/mnt/volume");
  machine.file("/proc/mounts", "");
  EXPECT_THAT(mounted(), ElementsAre());
}

TEST_F(mounted_shares, stay_as_they_were_without_a_table) {
  add("data", "samba", "/elsewhere").used = 12;
  EXPECT_THAT(after(get_shareinfo_from_mount), ElementsAre("data||/elsewhere|samba||rw"));
  EXPECT_EQ(list.only().used, 12U);
}

TEST_F(mounted_shares, stay_as_they_were_when_the_table_breaks_off) {
  add("data", "samba").used = 12;
  mounts({"/", "/mnt/data"});
  machine.fail("fread", EIO, 1);
  EXPECT_EQ(get_shareinfo_from_mount(list.get()), ORV_OK);
  EXPECT_EQ(list.records()[0]->used, 12U);
  EXPECT_STREQ(list.records()[0]->comment, "");
  machine.fail("fread", ENOMEM, 1);
  EXPECT_EQ(get_shareinfo_from_mount(list.get()), ORV_E_FAILED);
  EXPECT_EQ(list.records()[0]->used, 12U);
}

TEST_F(mounted_shares, are_those_before_the_place_where_the_table_breaks_off) {
  add("films", "samba");
  for (const int error : {EIO, ENOMEM}) {
    const tag_share_config& data = add(error == EIO ? "data" : "photos", "samba");
    machine.file("/proc/mounts",
                 std::string("/dev/a /mnt/") + data.name + " xfs rw 0 0\n/dev/b /mnt/films");
    machine.fail("fread at the end", error, 1);
    EXPECT_EQ(get_shareinfo_from_mount(list.get()), error == EIO ? ORV_OK : ORV_E_FAILED);
    EXPECT_EQ(data.path, std::string("/mnt/") + data.name);
    EXPECT_STREQ(list.records()[0]->path, "");
  }
}

TEST_F(mounted_shares, refuse_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_mount, "get_shareinfo_from_mount");
}

class mounted_volumes : public mounted_shares {};

TEST_F(mounted_volumes, are_those_that_a_search_for_a_mount_point_passes_over) {
  add("before", "iSCSI", "/v1");
  add("data", "samba");
  add("between", "iscsi", "/v2");
  add("films", "samba");
  add("behind", "ISCSI", "/v3");
  mounts({"/mnt/data"});
  EXPECT_THAT(mounted(), ElementsAre("before /v1", "data /mnt/data"));
}

TEST_F(mounted_volumes, are_those_before_the_share_that_is_furthest_behind) {
  add("before", "iSCSI", "/v1");
  add("data", "samba");
  add("between", "iscsi", "/v2");
  add("films", "samba");
  add("behind", "iSCSI", "/v3");
  mounts({"/mnt/films", "/mnt/data"});
  EXPECT_THAT(mounted(),
              ElementsAre("before /v1", "data /mnt/data", "between /v2", "films /mnt/films"));
}

TEST_F(mounted_volumes, are_all_of_them_when_a_mount_point_is_no_share) {
  add("before", "iSCSI", "/v1");
  add("data", "samba");
  add("behind", "iSCSI", "/v3");
  mounts({"/"});
  EXPECT_THAT(mounted(), ElementsAre("before /v1", "behind /v3"));
}

TEST_F(mounted_volumes, are_never_found_by_their_name) {
  add("data", "iSCSI", "/v1");
  add("data", "samba,iSCSI", "/old");
  mounts({"/mnt/data"});
  EXPECT_THAT(mounted(), ElementsAre("data /v1", "data /mnt/data"));
}

}  // namespace
