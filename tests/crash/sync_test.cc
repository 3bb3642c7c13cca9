#include "tests/crash/rewrites.h"
#include "tests/crash/traced.h"

namespace {

class syncs : public rewrite_test {
 protected:
  /// Of a change in files that were there before.
  void expect(const std::string& name, int files, int directories) {
    for (const rewrite_case& each : all_cases()) {
      if (each.name != name) continue;
      set_up(each.files);
      const traced_run run = run_traced(each.change);
      EXPECT_EQ(run.file_syncs, files) << name;
      EXPECT_EQ(run.directory_syncs, directories) << name;
    }
  }
  void expect(const std::string& name, int files) { expect(name, files, files); }
};

}  // namespace

TEST_F(syncs, are_one_of_a_file_and_one_of_a_directory_for_each_share_file) {
  expect("share_add", 2);
  expect("share_mod", 2);
  expect("share_del", 2);
  expect("share_set_use", 3);
}

TEST_F(syncs, reach_the_name_of_a_file_that_was_made_just_now) {
  machine.remove(shares_path);
  const traced_run run = run_traced([] {
    tag_share_config share = a_share("a", "ftp");
    return share_add(&share);
  });
  EXPECT_EQ(run.file_syncs, 1);
  EXPECT_EQ(run.directory_syncs, 2);
}

TEST_F(syncs, are_one_each_for_the_user_file) { expect("set_users_to_conf", 1); }

// Of the file, and of the copy of it that is kept.
TEST_F(syncs, are_two_of_a_file_without_a_companion) { expect("add_mdfstab", 2); }

// The new file before it takes the place of the old one; then `conf_save`, which does not know
// that: the file, and the copy of it that is kept.
TEST_F(syncs, are_two_of_a_file_that_is_replaced_and_one_of_its_copy) {
  expect("del_mdfstab", 3, 2);
  expect("ftp_share_para_set", 3, 2);
  expect("hostname_set", 3, 2);
}
