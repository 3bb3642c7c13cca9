/// What may fail while a file is rewritten in place, completed or read.
#include <cerrno>

#include "tests/crash/companion_machine.h"
#include "tests/sandbox/bend.h"
#include "tests/sandbox/libc.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class companion_faults : public companion_ {
 protected:
  /// A list of two, of which the rewrite of the second was cut short by a kill.
  void SetUp() override {
    shares(listed("old"));
    add("new");
    whole = shares();
  }
  void TearDown() override {
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
    EXPECT_THAT(helpers(), IsEmpty());
  }
  void cut(const std::string& left) {
    utimensat(AT_FDCWD, of(shares_path).c_str(), nullptr, 0);
    unmark(shares_path);
    write_in_place(shares_path, left);
  }
  std::string torn() const { return whole.substr(0, 60); }
  std::string holes() const { return whole.substr(0, 60) + std::string(20, '\0'); }
  void expect_refused() {
    EXPECT_EQ(lock_sharefile(shares_path), ORV_E_SHARE_OPEN);
    EXPECT_TRUE(machine.exists(of(shares_path))) << "and nothing is lost";
  }
  /// The same size, and in the middle something else.
  std::string edited() const { return std::string(whole).replace(60, 3, "xyz"); }
  /// Changes the list by a rewrite that nothing stands beside; it is done and committed all the
  /// same.
  void expect_changed_without_companion() {
    add("more");
    EXPECT_EQ(shares(), whole + listed("more", "ftp"));
    EXPECT_TRUE(is_committed(shares_path));
    EXPECT_FALSE(machine.exists(of(shares_path)));
  }

  std::string whole;
};

}  // namespace

TEST_F(companion_faults, holes_that_a_kill_left_are_filled) {
  cut(holes());
  EXPECT_THAT(listed_names(), ElementsAre("old", "new"));
  EXPECT_EQ(held(shares_path), whole);
}

TEST_F(companion_faults, change_of_the_same_time_is_a_loss_only_when_it_may_be_one) {
  for (const std::string& lost : {torn(), holes(), std::string()}) {
    write_in_place(shares_path, lost);
    mark_as_finished_now(shares_path);
    EXPECT_EQ(held(shares_path), whole);
  }
  write_in_place(shares_path, edited());
  mark_as_finished_now(shares_path);
  EXPECT_EQ(held(shares_path), edited());
  EXPECT_FALSE(machine.exists(of(shares_path)));
}

TEST_F(companion_faults, kill_is_told_from_a_change_where_times_are_whole_seconds) {
  sandbox::know_whole_seconds_only();
  for (const std::string& left : {torn(), holes()}) {
    cut(left);
    EXPECT_THAT(listed_names(), ElementsAre("old", "new"));
    EXPECT_EQ(held(shares_path), whole);
  }
  cut(edited());
  EXPECT_EQ(held(shares_path), edited());
}

TEST_F(companion_faults, reader_takes_a_change_by_hand_as_it_is) {
  cut(edited());
  EXPECT_THAT(listed_names(), ElementsAre("old", "new"));
  EXPECT_EQ(shares(), edited());
  cut(listed("mine"));
  EXPECT_THAT(listed_names(), ElementsAre("mine"));
  cut(whole + listed("mine"));
  EXPECT_THAT(listed_names(), ElementsAre("old", "new", "mine"));
}

// As one that cannot open the file at all, it tells nothing and has no code for it.
TEST_F(companion_faults, reader_tells_all_or_nothing) {
  cut(listed("old"));
  int told_nothing = 0;
  for (const char* function : {"fopen", "pread", "stat", "fstat"}) {
    for (const int nth : {1, 2, 3, 4}) {
      machine.fail(function, EIO, nth);
      const sandbox::lines names = listed_names();
      EXPECT_TRUE(names.empty() || names == sandbox::lines({"old", "new"})) << function << nth;
      told_nothing += names.empty() ? 1 : 0;
      sandbox::libc::reset();
    }
  }
  EXPECT_GE(told_nothing, 3);
  EXPECT_EQ(shares(), listed("old")) << "readers change nothing";
  machine.fail("pread", EINTR, 3);
  EXPECT_THAT(listed_names(), ElementsAre("old", "new"));
}

TEST_F(companion_faults, reader_tells_nothing_when_neither_text_can_be_read) {
  cut(listed("old"));
  machine.fail("pread", EIO);
  EXPECT_THAT(listed_names(), IsEmpty());
}

// Only root can read companions; others read shares as they find them.
TEST_F(companion_faults, reader_who_may_not_look_takes_the_file_as_it_is) {
  cut(listed("old"));
  machine.fail("lstat", EACCES, 1);
  EXPECT_THAT(listed_names(), ElementsAre("old"));
  EXPECT_THAT(listed_names(), ElementsAre("old", "new"));
}

// Its text would be taken for all there is.
TEST_F(companion_faults, file_that_cannot_be_made_whole_is_refused) {
  for (const char* function : {"fopen", "ftruncate", "pread"}) {
    cut(torn());
    machine.fail(function, EIO, 1);
    expect_refused();
    EXPECT_EQ(held(shares_path), whole) << function;
  }
  cut(torn());
  machine.fail("fopen", EMFILE);
  expect_refused();
  sandbox::libc::reset();
  EXPECT_EQ(held(shares_path), whole);
}

// Cut short further it might look like somebody's change.
TEST_F(companion_faults, file_is_not_touched_when_its_completion_cannot_be_noted) {
  machine.mount_tmpfs("/var/lib/orv/rewrites");
  add("more");
  whole = shares();
  cut(torn());
  machine.remount_read_only("/var/lib/orv/rewrites");
  expect_refused();
  EXPECT_EQ(shares(), torn());
}

TEST_F(companion_faults, companion_that_is_not_needed_need_not_be_read) {
  run_is("this");
  add("more");
  whole = shares();
  machine.fail("fopen", EIO, 2);
  EXPECT_EQ(listed_names().size(), 3U);
  machine.fail("fopen", EIO, 1);
  EXPECT_EQ(held(shares_path), whole);
}

TEST_F(companion_faults, companion_of_an_earlier_run_is_not_needed_for_what_was_changed_since) {
  run_is("that");
  add("more");
  run_is("this");
  write_in_place(shares_path, edited());
  machine.fail("fopen", EIO, 1);
  EXPECT_EQ(held(shares_path), edited());
}

TEST_F(companion_faults, change_of_a_file_that_cannot_be_made_whole_is_refused) {
  for (const std::string& left : {torn(), holes(), std::string()}) {
    cut(left);
    machine.fail("fopen", EMFILE, 1);
    const std::string name = "more" + std::to_string(whole.size());
    tag_share_config more = a_share(name, "ftp");
    EXPECT_EQ(share_add(&more), ORV_E_SHARES_LOCKED);
    EXPECT_EQ(shares(), left);
    machine.fail("write", ENOSPC);
    EXPECT_EQ(share_add(&more), ORV_E_SHARES_LOCKED);
    sandbox::libc::reset();
    EXPECT_EQ(share_add(&more), ORV_OK);
    EXPECT_EQ(shares(), whole + listed(name, "ftp"));
    whole = shares();
  }
}

TEST_F(companion_faults, completion_makes_no_other_companion) {
  cut(torn());
  struct stat before {};
  struct stat after {};
  EXPECT_EQ(::stat(of(shares_path).c_str(), &before), 0);
  EXPECT_EQ(held(shares_path), whole);
  EXPECT_EQ(::stat(of(shares_path).c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST_F(companion_faults, completion_is_not_begun_when_it_could_be_lost) {
  for (const int nth : {1, 2}) {
    cut(torn());
    machine.fail("fsync", EIO, nth);
    expect_refused();
    EXPECT_EQ(shares(), torn());
    EXPECT_EQ(held(shares_path), whole) << nth;
  }
}

TEST_F(companion_faults, beginning_is_read_in_as_many_pieces_as_it_takes) {
  cut(torn());
  machine.fail("pread", EINTR, 1);
  EXPECT_EQ(held(shares_path), whole);
}

TEST_F(companion_faults, file_that_cannot_be_examined_is_refused) {
  cut(torn());
  // Once to see that it was not replaced, then before it is completed, and then its companion.
  for (const int nth : {2, 3}) {
    machine.fail("fstat", EIO, nth);
    expect_refused();
    EXPECT_EQ(shares(), torn()) << nth;
  }
  machine.fail("fstat", EIO, 1);
  EXPECT_EQ(held(shares_path), whole);
}

TEST_F(companion_faults, change_needs_no_companion) {
  machine.fail("rename", EIO, 1);
  expect_changed_without_companion();
}

TEST_F(companion_faults, change_needs_no_descriptor_to_sweep) {
  machine.remove(of(shares_path));
  machine.fail("opendir", EMFILE, 1);
  add("more");
  EXPECT_EQ(shares(), whole + listed("more", "ftp"));
  EXPECT_TRUE(machine.exists(of(shares_path)));
}

TEST_F(companion_faults, companion_that_was_finished_just_now_is_not_swept) {
  machine.file("/var/lib/orv/rewrites/7-7", "of another file");
  machine.link("/var/lib/orv/rewrites/7-7.done", "its mark");
  machine.remove(of(shares_path));
  add("more");
  EXPECT_TRUE(machine.exists("/var/lib/orv/rewrites/7-7"));
  EXPECT_TRUE(machine.exists("/var/lib/orv/rewrites/7-7.done"));
}

// One of an earlier run may be all that a power cut left.
TEST_F(companion_faults,
       companion_of_another_file_is_swept_a_day_after_it_was_finished_in_this_run) {
  run_is("this");
  const std::string other = "/var/lib/orv/rewrites/7-7";
  const std::string earlier = "/var/lib/orv/rewrites/8-8";
  finished_long_ago(other, "this");
  finished_long_ago(earlier, "that");
  machine.remove(of(shares_path));
  add("more");
  EXPECT_FALSE(machine.exists(other));
  EXPECT_FALSE(machine.exists(other + ".done"));
  EXPECT_TRUE(machine.exists(earlier));
  EXPECT_TRUE(machine.exists(earlier + ".done"));
}

// Its file was rewritten once more since, or the companion went before its mark.
TEST_F(companion_faults, mark_that_is_no_companions_goes_alone_or_stays_with_another) {
  run_is("this");
  const std::string rewritten = "/var/lib/orv/rewrites/7-7";
  const std::string gone = "/var/lib/orv/rewrites/8-8";
  finished_long_ago(rewritten, "this");
  machine.file(rewritten, "of a later rewrite");
  finished_long_ago(gone, "this");
  machine.remove(gone);
  machine.remove(of(shares_path));
  add("more");
  EXPECT_EQ(machine.read(rewritten), "of a later rewrite");
  EXPECT_EQ(unlink((rewritten + ".done").c_str()), 0);
  EXPECT_EQ(unlink((gone + ".done").c_str()), -1);
}

TEST_F(companion_faults, what_a_killed_process_left_is_swept_after_a_day) {
  const std::string half = "/var/lib/orv/rewrites/7-7.new";
  machine.file(half, "half");
  const timespec long_ago[] = {{1000000, 0}, {1000000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, half.c_str(), long_ago, 0), 0);
  machine.remove(of(shares_path));
  add("more");
  EXPECT_FALSE(machine.exists(half));
}

TEST_F(companion_faults, end_of_a_section_that_cannot_be_kept_is_no_reason_to_refuse) {
  machine.file(smb_path, global + offered("old"));
  for (const auto& [error, is_kept] : {std::pair(EINTR, true), std::pair(EIO, false)}) {
    share_list list;
    list.add(a_share("s"));
    const open_file file(smb_path);
    machine.fail("pread", error, 2);  // once to find the sections
    EXPECT_EQ(put_share_to_smb(file.number(), list.get()), ORV_OK);
    EXPECT_EQ(machine.read(smb_path), global + offered("s"));
    EXPECT_EQ(machine.exists(of(smb_path)), is_kept);
  }
}

TEST_F(companion_faults, interrupted_writing_goes_on) {
  machine.fail("write", EINTR, 1);
  add("more");
  EXPECT_EQ(shares(), whole + listed("more", "ftp"));
}

TEST_F(companion_faults, descriptor_that_is_none_is_refused) {
  share_list list;
  list.add(a_share("s"));
  EXPECT_EQ(put_share_to_conf(-1, list.get()), ORV_E_SHARE_WRITE);
}

TEST_F(companion_faults, nothing_stands_beside_what_cannot_be_rewritten) {
  share_list list;
  list.add(a_share("s"));
  const open_file closed(shares_path, O_RDONLY);
  EXPECT_EQ(put_share_to_conf(closed.number(), list.get()), ORV_E_SHARE_WRITE);
  EXPECT_EQ(shares(), whole);
  EXPECT_FALSE(machine.exists(of(shares_path)));
  const sandbox::lines before = machine.list("/var/lib/orv/rewrites");
  const open_file device("/dev/full", O_RDWR);
  EXPECT_EQ(put_share_to_conf(device.number(), list.get()), ORV_E_SHARE_WRITE);
  EXPECT_EQ(machine.list("/var/lib/orv/rewrites"), before);
}
