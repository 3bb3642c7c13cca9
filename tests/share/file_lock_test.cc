#include <sys/stat.h>

#include <cerrno>

#include "tests/sandbox/bend.h"
#include "tests/share/share_machine.h"

using file_lock = share_test;
using testing::ElementsAre;

/// What another process is told about a lock on a whole file: the holder.
static pid_t holder_seen_by_another(const std::string& path) {
  int answer[2];
  EXPECT_EQ(pipe(answer), 0);
  const other_process asks([&] {
    const pid_t holder = lock_test(open(path.c_str(), O_RDWR), F_WRLCK, 0, SEEK_SET, 0);
    (void)!write(answer[1], &holder, sizeof holder);
  });
  pid_t holder = -2;
  EXPECT_EQ(read(answer[0], &holder, sizeof holder), static_cast<ssize_t>(sizeof holder));
  close(answer[0]);
  close(answer[1]);
  return holder;
}

TEST_F(file_lock, opens_and_locks_until_it_is_released) {
  machine.file("/etc/exports", "text");
  const int file = lock_sharefile("/etc/exports");
  ASSERT_GE(file, 0);
  EXPECT_NE(fcntl(file, F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(holder_seen_by_another("/etc/exports"), getpid());
  EXPECT_EQ(unlock_file(file), 0);
  EXPECT_EQ(holder_seen_by_another("/etc/exports"), 0);
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(machine.read("/etc/exports"), "text");
}

TEST_F(file_lock, makes_a_missing_file_for_its_owner_only) {
  const mode_t mask = umask(0);
  const int file = lock_sharefile("/etc/exports");
  umask(mask);
  EXPECT_GE(file, 0);
  EXPECT_EQ(machine.read("/etc/exports"), "");
  EXPECT_EQ(machine.mode("/etc/exports"), 0700U);
  close(file);
}

TEST_F(file_lock, does_not_wait_for_another_process) {
  for (const int type : {F_RDLCK, F_WRLCK}) {
    const foreign_lock lock("/etc/exports", type);
    EXPECT_EQ(lock_sharefile("/etc/exports"), -2062);
    expect_nothing_held();
  }
  const int file = lock_sharefile("/etc/exports");
  EXPECT_GE(file, 0);
  close(file);
}

// A writer's lock is in the way of the first probe, a reader's of the second: no lock is asked for.
TEST_F(file_lock, is_tried_once) {
  const std::pair<int, std::size_t> calls[] = {{F_WRLCK, 1}, {F_RDLCK, 2}, {F_UNLCK, 3}};
  for (const auto& [type, count] : calls) {
    const foreign_lock lock("/etc/exports", type);
    const lock_watch watch(machine);
    const int file = lock_sharefile("/etc/exports");
    EXPECT_EQ(file < 0, type != F_UNLCK);
    EXPECT_EQ(watch.seen().size(), count) << type;
    close(file);
  }
}

TEST_F(file_lock, is_tried_once_by_a_change) {
  const foreign_lock lock(shares_path);
  const lock_watch watch(machine);
  EXPECT_EQ(share_del("a", "samba"), -2060);
  EXPECT_EQ(watch.seen().size(), 1U);
}

TEST_F(file_lock, gives_way_to_a_lock_that_no_process_holds) {
  const open_file file("/etc/exports");
  struct flock lock {};
  lock.l_type = F_WRLCK;
  ASSERT_EQ(fcntl(file.number(), F_OFD_SETLK, &lock), 0);
  errno = 0;
  EXPECT_EQ(lock_sharefile("/etc/exports"), -2062);
  EXPECT_EQ(errno, EAGAIN);
}

TEST_F(file_lock, of_this_process_excludes_nobody_in_it) {
  const int first = lock_sharefile("/etc/exports");
  const int second = lock_sharefile("/etc/exports");
  EXPECT_GE(first, 0);
  EXPECT_GE(second, 0);
  close(first);
  close(second);
}

TEST_F(file_lock, needs_a_file_that_can_be_opened) {
  EXPECT_EQ(lock_sharefile(nullptr), -1);
  EXPECT_EQ(lock_sharefile("/none/exports"), -10);
  machine.directory("/etc/exports");
  EXPECT_EQ(lock_sharefile("/etc/exports"), -10);
}

TEST_F(file_lock, of_a_mode_locks_the_file_of_its_row) {
  const std::pair<const char*, const char*> rows[] = {
      {"samba", smb_path}, {"CIFS", smb_path}, {"NFS", exports_path}, {"iscsi", ietd_path}};
  for (const auto& [mode, path] : rows) {
    int file = -5;
    EXPECT_GE(lock_modefile(file, mode), 0) << mode;
    EXPECT_THAT(machine.open_descriptors(), ElementsAre(std::to_string(file) + ' ' + path));
    close(file);
  }
}

TEST_F(file_lock, of_a_mode_locks_its_recycle_file) {
  const std::pair<const char*, const char*> rows[] = {
      {"Samba", smb_recy_path}, {"cifs", smb_recy_path}, {"nfs", exports_recy_path}};
  for (const auto& [mode, path] : rows) {
    int file = -5;
    EXPECT_GE(lock_mode_recyfile(file, mode), 0) << mode;
    EXPECT_THAT(machine.open_descriptors(), ElementsAre(std::to_string(file) + ' ' + path));
    close(file);
  }
}

TEST_F(file_lock, of_a_mode_without_a_file_or_row_fails) {
  int file = -5;
  EXPECT_EQ(lock_modefile(file, "none"), -2068);
  EXPECT_EQ(lock_modefile(file, nullptr), -2068);
  EXPECT_EQ(lock_mode_recyfile(file, "ftp"), -2068);
  EXPECT_EQ(lock_mode_recyfile(file, "iscsi"), -2068);
  EXPECT_EQ(file, -5);
  EXPECT_EQ(lock_modefile(file, "ftp"), -1);
  EXPECT_EQ(file, -1);
  const foreign_lock lock(smb_path);
  EXPECT_EQ(lock_modefile(file, "samba"), -2062);
  EXPECT_EQ(file, -2062);
  file = -5;
  const foreign_lock recycle_lock(smb_recy_path);
  EXPECT_EQ(lock_mode_recyfile(file, "samba"), -2062);
  EXPECT_EQ(file, -2062);
}

TEST_F(file_lock, test_tells_the_holder_of_a_range) {
  const other_process holder([] {
    lock_reg(open("/etc/ranges", O_RDWR | O_CREAT, 0644), F_SETLK, F_RDLCK, 10, SEEK_SET, 5);
  });
  const open_file file("/etc/ranges");
  EXPECT_EQ(lock_test(file.number(), F_WRLCK, 0, SEEK_SET, 10), 0);
  EXPECT_EQ(lock_test(file.number(), F_WRLCK, 0, SEEK_SET, 11), holder.id());
  EXPECT_EQ(lock_test(file.number(), F_RDLCK, 0, SEEK_SET, 0), 0);
  EXPECT_EQ(lock_test(-1, F_RDLCK, 0, SEEK_SET, 0), -1);
  EXPECT_EQ(lock_reg(file.number(), F_SETLK, F_WRLCK, 0, SEEK_SET, 0), -1);
  EXPECT_EQ(lock_reg(file.number(), F_SETLK, F_WRLCK, 15, SEEK_SET, 0), 0);
  EXPECT_EQ(unlock_file(-1), -1);
}

/// What an editor does, or who puts a kept copy back.
static void replace_exports() {
  const open_file made("/etc/exports.new");
  EXPECT_EQ(rename("/etc/exports.new", "/etc/exports"), 0);
}

TEST_F(file_lock, is_taken_of_the_file_that_was_put_in_its_place) {
  machine.file("/etc/exports", "old");
  sandbox::before("stat", replace_exports);
  const int file = lock_sharefile("/etc/exports");
  ASSERT_GE(file, 0);
  struct stat locked {};
  struct stat found {};
  EXPECT_EQ(fstat(file, &locked), 0);
  EXPECT_EQ(stat("/etc/exports", &found), 0);
  EXPECT_EQ(locked.st_ino, found.st_ino);
  close(file);
  EXPECT_THAT(machine.open_descriptors(), testing::IsEmpty());
}

TEST_F(file_lock, is_taken_of_the_file_on_another_disk_that_was_put_in_its_place) {
  machine.file("/etc/exports", "old");
  machine.mount_tmpfs("/other");
  machine.file("/other/exports", "new");
  sandbox::before("stat", [] {
    EXPECT_EQ(unlink("/etc/exports"), 0);
    EXPECT_EQ(symlink("/other/exports", "/etc/exports"), 0);
  });
  const int file = lock_sharefile("/etc/exports");
  char text[4] = "";
  EXPECT_EQ(read(file, text, 3), 3);
  EXPECT_STREQ(text, "new");
  close(file);
}

static int replacements = 0;

static void replace_exports_again() {
  ++replacements;
  replace_exports();
  sandbox::before("stat", replace_exports_again);
}

TEST_F(file_lock, is_taken_of_a_file_that_is_replaced_all_the_time) {
  replacements = 0;
  sandbox::before("stat", replace_exports_again);
  const int file = lock_sharefile("/etc/exports");
  EXPECT_GE(file, 0);
  EXPECT_EQ(replacements, 10);
  close(file);
}

TEST_F(file_lock, that_cannot_be_asked_for_or_made_is_refused) {
  for (const int nth : {1, 2, 3}) {
    machine.fail("fcntl", ENOLCK, nth);
    errno = 0;
    EXPECT_EQ(lock_sharefile("/etc/exports"), -2062) << nth;
    EXPECT_EQ(errno, ENOLCK) << nth;
  }
  EXPECT_THAT(machine.open_descriptors(), testing::IsEmpty());
}
