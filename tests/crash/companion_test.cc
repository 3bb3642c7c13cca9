#include <sys/stat.h>
#include <sys/statvfs.h>
#include <utime.h>

#include "tests/crash/companion_machine.h"
#include "tests/crash/traced.h"

using testing::IsEmpty;

TEST_F(companion_, gives_back_what_a_power_cut_took) {
  shares(listed("old"));
  add("new");
  const std::string whole = shares();
  const std::string holes = std::string(100, '\0') + whole.substr(100, 20);
  for (const std::string& lost : {std::string(), listed("old"), whole.substr(0, 50), holes}) {
    write_in_place(shares_path, lost);
    mark_as_finished_later(shares_path);
    EXPECT_THAT(listed_names(), testing::ElementsAre("old", "new"));
    EXPECT_EQ(held(shares_path), whole);
    EXPECT_EQ(shares(), whole);
  }
}

// The clock may have gone back between the end of the rewrite and the change by hand.
TEST_F(companion_, never_undoes_a_change_by_hand_in_the_run_of_its_rewrite) {
  run_is("first");
  for (const std::string& edited :
       {listed("mine"), std::string(), listed("old") + "[n", std::string(9, '\0')}) {
    shares(listed("old"));
    add("new");
    write_in_place(shares_path, edited);
    mark_as_finished_later(shares_path);
    sandbox::lines names;
    if (edited == listed("mine")) names = {"mine"};
    if (edited.starts_with(listed("old"))) names = {"old", ""};
    EXPECT_THAT(listed_names(), testing::ElementsAreArray(names)) << edited;
    EXPECT_EQ(held(shares_path), edited);
    EXPECT_FALSE(machine.exists(of(shares_path)));
  }
}

TEST_F(companion_, gives_back_what_a_power_cut_took_in_the_next_run) {
  run_is("first");
  shares(listed("old"));
  add("new");
  const std::string whole = shares();
  write_in_place(shares_path, listed("old"));
  mark_as_finished_later(shares_path);
  run_is("second");
  EXPECT_THAT(listed_names(), testing::ElementsAre("old", "new"));
  EXPECT_EQ(held(shares_path), whole);
}

TEST_F(companion_, survives_the_end_of_who_completes_its_file) {
  std::string whole;
  const auto tear = [&] {
    run_is("first");
    shares(listed("old"));
    add("new");
    whole = shares();
    write_in_place(shares_path, whole.substr(0, 60));
    mark_as_finished_later(shares_path);
    run_is("second");
  };
  const auto complete = [] {
    const int file = lock_sharefile(shares_path);
    return file < 0 ? file : close(file);
  };
  tear();
  const int calls = run_traced(complete).calls;
  EXPECT_GT(calls, 20);
  for (int call = 1; call <= calls && !HasFailure(); ++call) {
    tear();
    run_traced(complete, call);
    EXPECT_THAT(listed_names(), testing::ElementsAre("old", "new")) << call;
    EXPECT_EQ(held(shares_path), whole) << call;
  }
}

TEST_F(companion_, of_an_earlier_run_guards_no_more_when_its_file_was_found_whole) {
  run_is("first");
  shares(listed("old"));
  add("new");
  const std::string whole = shares();
  run_is("second");
  EXPECT_EQ(held(shares_path), whole);
  write_in_place(shares_path, listed("mine"));
  mark_as_finished_later(shares_path);
  EXPECT_EQ(held(shares_path), listed("mine"));
}

TEST_F(companion_, completes_what_was_cut_short_by_a_kill) {
  shares(listed("old"));
  add("new");
  const std::string whole = shares();
  for (const std::size_t size : {0UL, 1UL, 100UL, whole.size() - 1}) {
    utimensat(AT_FDCWD, of(shares_path).c_str(), nullptr, 0);
    unmark(shares_path);
    write_in_place(shares_path, whole.substr(0, size));
    EXPECT_THAT(listed_names(), testing::ElementsAre("old", "new"));
    EXPECT_EQ(shares().size(), size);
    EXPECT_EQ(held(shares_path), whole);
  }
}

TEST_F(companion_, never_undoes_a_change_by_hand) {
  shares(listed("old"));
  for (const std::string& edited :
       {std::string(), listed("old"), listed("mine"), listed("old") + "[n", std::string(9, '\0')}) {
    add("new");
    write_in_place(shares_path, edited);
    EXPECT_EQ(held(shares_path), edited);
    EXPECT_FALSE(machine.exists(of(shares_path)));
    add("other");  // a companion that stands again
    machine.remove(shares_path);
    machine.file(shares_path, edited);
    EXPECT_EQ(held(shares_path), edited) << "replaced";
    shares(listed("old"));
  }
}

TEST_F(companion_, never_undoes_a_change_by_hand_after_a_kill) {
  shares(listed("old"));
  add("new");
  unmark(shares_path);
  write_in_place(shares_path, listed("mine"));
  EXPECT_EQ(held(shares_path), listed("mine"));
}

TEST_F(companion_, of_long_ago_does_not_touch_a_file_that_was_emptied) {
  shares(listed("old"));
  add("new");
  unmark(shares_path);
  const utimbuf an_hour_ago{time(nullptr) - 3600, time(nullptr) - 3600};
  utime(of(shares_path).c_str(), &an_hour_ago);
  write_in_place(shares_path, "");
  EXPECT_EQ(held(shares_path), "");
}

// The kept copy is another link to the companion, and editors may write to it in place.
TEST_F(companion_, that_was_written_to_is_no_companion_any_more) {
  shares(listed("old"));
  add("new");
  const std::string committed = shares();
  sleep(1);
  write_in_place(std::string("/var/lib/orv/kept") + shares_path, "edited");
  EXPECT_EQ(held(shares_path), committed);
}

TEST_F(companion_, is_as_closed_as_its_file) {
  machine.file(ietd_path, "", 0600);
  tag_share_config share = a_share("vol", "iscsi");
  EXPECT_EQ(share_add(&share), ORV_OK);
  EXPECT_EQ(machine.mode(of(ietd_path)), 0600U);
  EXPECT_EQ(machine.mode("/var/lib/orv/rewrites"), 0700U);
  EXPECT_TRUE(is_committed(ietd_path));
}

TEST_F(companion_, that_cannot_be_made_keeps_nobody_from_a_change) {
  machine.file("/var/lib/orv/rewrites", "in the way");
  shares(listed("old"));
  add("new");
  EXPECT_EQ(shares(), listed("old") + listed("new", "ftp"));
  EXPECT_TRUE(is_committed(shares_path));
}

TEST_F(companion_, of_a_file_that_could_not_be_written_is_gone) {
  share_list list;
  list.add(a_share("a"));
  machine.mount_tmpfs("/small", "size=8k");
  machine.file("/small/rest", std::string(8192, 'x'));
  const open_file full("/small/f");
  EXPECT_EQ(put_share_to_conf(full.number(), list.get()), ORV_E_SHARE_WRITE);
  EXPECT_EQ(held("/small/f"), "");
  EXPECT_FALSE(machine.exists(of("/small/f")));
}

TEST_F(companion_, of_a_file_that_is_gone_is_swept_after_a_day) {
  run_is("first");
  shares(listed("old"));
  add("new");
  const std::string stale = of(shares_path);
  const timespec long_ago[] = {{1000000, 0}, {1000000, 0}};
  EXPECT_EQ(utimensat(AT_FDCWD, (stale + ".done").c_str(), long_ago, AT_SYMLINK_NOFOLLOW), 0);
  shares(listed("replaced"));
  add("new");
  if (of(shares_path) != stale) {
    EXPECT_FALSE(machine.exists(stale));
    EXPECT_FALSE(machine.exists(stale + ".done"));
  }
}
