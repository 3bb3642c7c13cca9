#include <sys/stat.h>
#include <unistd.h>

#include "tests/share/discovery.h"

namespace {

class df_info : public discovery_test {
 protected:
  void TearDown() override {
    machine.remove("/tmp/df.info");
    discovery_test::TearDown();
  }

  /// "RESULT TOTAL USED"; both numbers are 11 and 12 before.
  std::string sizes_of(const char* path) {
    uint64_t total = 11;
    uint64_t used = 12;
    const int result = get_sizeinfo_from_df(&total, &used, path);
    return std::to_string(result) + ' ' + std::to_string(total) + ' ' + std::to_string(used);
  }
  std::string sizes_in(const std::string& listing, const char* path = "/pool/data") {
    machine.file("/tmp/df.info", listing);
    return sizes_of(path);
  }
};

constexpr char listing[] =
    "Filesystem           1K-blocks      Used Available Use% Mounted on\n"
    "/dev/root                10240      4096      6144  40% /\n"
    "/dev/vg1/data         10475520   3145728   7329792  30% /mnt/data\n"
    "/dev/mapper/vg1-a--pool--of--a--long--name\n"
    "                      20971520  10485760  10485760  50% /mnt/long\n";

TEST_F(df_info, gives_the_figures_behind_the_device_in_gib_and_one_more) {
  EXPECT_EQ(sizes_in(listing), "0 10 4");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(df_info, gives_the_figures_of_a_line_that_begins_with_them) {
  EXPECT_EQ(sizes_in(listing, "/pool/long"), "0 21 11");
}

TEST_F(df_info, adds_one_to_whole_gib) {
  EXPECT_EQ(sizes_in("/dev/a 1048575 0 1 1% /mnt/data\n"), "0 1 1");
  EXPECT_EQ(sizes_in("/dev/a 1048576 1048575 1 1% /mnt/data\n"), "0 2 1");
  EXPECT_EQ(sizes_in("/dev/a 3221225472 2097152 1 1% /mnt/data\n"), "0 3073 3");
}

TEST_F(df_info, takes_the_path_from_its_second_component_on) {
  machine.file("/tmp/df.info",
               "/dev/a 1048576 0 1 1% /mnt/data\n/dev/b 2097152 0 1 1% /mnt/data/sub\n"
               "/dev/c 3145728 0 1 1% /mnt\n/dev/d 4194304 0 1 1% /mnt/\n");
  for (const char* path : {"/mnt/data", "pool/data", "///pool/data", "/x y/data"}) {
    EXPECT_EQ(sizes_of(path), "0 2 1") << path;
  }
  EXPECT_EQ(sizes_of("/pool/data/sub"), "0 3 1");
  for (const char* path : {"", "/", "//", "/data", "data"}) {
    EXPECT_EQ(sizes_of(path), "0 4 1") << path;
  }
  EXPECT_EQ(sizes_of("/pool/"), "0 5 1");
}

TEST_F(df_info, takes_the_first_line_whose_last_field_is_the_mount_point) {
  EXPECT_EQ(sizes_in("/mnt/data 1048576 0 1 1% /elsewhere\n/dev/a 2097152 0 1 1% /other/mnt/data\n"
                     "/dev/b 3145728 0 1 1% /mnt/data2\n/dev/c 4194304 0 1 1% /mnt/data  \r\n"
                     "/dev/d 5242880 0 1 1% /mnt/data\n"),
            "0 5 1");
}

TEST_F(df_info, finds_a_mount_point_with_blanks) {
  EXPECT_EQ(sizes_in("/dev/a 1048576 0 1 1% /mnt/my disk\n", "/pool/my disk"), "0 2 1");
}

TEST_F(df_info, finds_a_mount_point_in_a_long_line_and_at_the_end_of_the_file) {
  EXPECT_EQ(sizes_in("/dev/" + std::string(100000, 'd') + " 1048576 0 1 1% /mnt/data"), "0 2 1");
}

TEST_F(df_info, takes_a_device_that_begins_with_a_number_for_the_total) {
  EXPECT_EQ(sizes_in("10.0.0.1:/x 1048576 0 1 1% /mnt/data\n"), "0 1 2");
  EXPECT_EQ(sizes_in("0 1048576 0 1 1% /mnt/data\n"), "0 2 1");
}

TEST_F(df_info, has_nothing_for_a_path_that_is_not_listed) {
  for (const char* path : {"/pool/none", "/pool/dat", "/pool/Data", "/pool/data/sub", "/none"}) {
    EXPECT_EQ(sizes_in(listing, path), "-1 11 12") << path;
  }
  EXPECT_EQ(sizes_in(""), "-1 11 12");
  EXPECT_EQ(sizes_in("/mnt/data\n/dev/a 5 5 5% /mnt/dat"), "-1 11 12");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(df_info, has_nothing_for_a_line_without_figures) {
  EXPECT_EQ(sizes_in("/dev/a /mnt/data\n"), "-1 11 12");
  EXPECT_EQ(sizes_in(" /mnt/data\n"), "-1 11 12");
}

TEST_F(df_info, compares_at_most_255_characters_of_the_mount_point) {
  const std::string longest = "/mnt/" + std::string(250, 'm');
  const std::string path = "/pool/" + std::string(300, 'm');
  EXPECT_EQ(sizes_in("/dev/a 1048576 0 1 1% " + longest + "\n", path.c_str()), "0 2 1");
}

TEST_F(df_info, changes_nothing_without_a_listing) {
  EXPECT_EQ(sizes_of("/pool/data"), "0 11 12");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(df_info, changes_nothing_when_the_listing_cannot_be_opened) {
  machine.file("/tmp/df.info", listing);
  machine.fail("fopen", EACCES, 1);
  EXPECT_EQ(sizes_of("/pool/data"), "0 11 12");
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(sizes_of("/pool/data"), "0 10 4");
}

TEST_F(df_info, that_cannot_be_read_lists_nothing) {
  machine.directory("/tmp/df.info");
  EXPECT_EQ(sizes_of("/pool/data"), "-1 11 12");
}

// Any local user can make a file of this name first.
TEST_F(df_info, of_somebody_else_is_none) {
  ASSERT_EQ(::mkfifo("/tmp/df.info", 0666), 0);
  EXPECT_EQ(sizes_of("/pool/data"), "0 11 12");
  machine.remove("/tmp/df.info");
  machine.file("/root/listing", listing);
  machine.link("/tmp/df.info", "/root/listing");
  EXPECT_EQ(sizes_of("/pool/data"), "0 11 12");
  machine.remove("/tmp/df.info");
  if (!machine.knows_other_users()) return;
  machine.file("/tmp/df.info", listing);
  ASSERT_EQ(::chown("/tmp/df.info", 1000, 1000), 0);
  EXPECT_EQ(sizes_of("/pool/data"), "0 11 12");
}

TEST_F(df_info, needs_all_arguments) {
  machine.file("/tmp/df.info", listing);
  uint64_t number = 11;
  EXPECT_EQ(get_sizeinfo_from_df(nullptr, &number, "/pool/data"), ORV_E_FAILED);
  EXPECT_EQ(get_sizeinfo_from_df(&number, nullptr, "/pool/data"), ORV_E_FAILED);
  EXPECT_EQ(get_sizeinfo_from_df(&number, &number, nullptr), ORV_E_FAILED);
  EXPECT_EQ(number, 11U);
}

}  // namespace
