#ifndef ORV_TESTS_CRASH_COMPANION_MACHINE_H
#define ORV_TESTS_CRASH_COMPANION_MACHINE_H

#include <sys/stat.h>

#include "tests/crash/rewrites.h"

inline constexpr char companions[] = "/var/lib/orv/rewrites/";

/// What a power cut and an editor may leave beside a companion.
class companion_ : public rewrite_test {
 protected:
  static std::string of(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(::stat(path.c_str(), &found), 0);
    return companions + std::to_string(found.st_dev) + '-' + std::to_string(found.st_ino);
  }
  static void write_in_place(const std::string& path, const std::string& text) {
    const open_file file(path, O_WRONLY | O_TRUNC);
    EXPECT_EQ(::write(file.number(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  static void add(const std::string& name) {
    tag_share_config share = a_share(name, "ftp");
    EXPECT_EQ(share_add(&share), ORV_OK);
  }
  /// The time of the file's last change is moved before the end of its rewrite, as far as can be
  /// seen: the mark says that the rewrite ended later.
  static void mark_as_finished_later(const std::string& path) {
    mark_as_finished(path, "00000000009999999999.000000000");
  }
  /// The rewrite ended when the file was changed last, as far as can be seen.
  static void mark_as_finished_now(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(::stat(path.c_str(), &found), 0);
    mark_as_finished(path, text_of(found.st_ctim));
  }
  /// A companion of another file, whose rewrite ended long ago.
  void finished_long_ago(const std::string& path, const std::string& run) {
    machine.file(path, "of another file");
    struct stat found {};
    EXPECT_EQ(::stat(path.c_str(), &found), 0);
    const std::string mark = path + ".done";
    machine.link(mark, text_of(found.st_mtim) + " 2.0 " + run);
    const timespec long_ago[] = {{1000000, 0}, {1000000, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, mark.c_str(), long_ago, AT_SYMLINK_NOFOLLOW), 0);
  }
  /// As if the machine had been started anew, unless it is the run that it was.
  void run_is(const std::string& name) {
    machine.file("/proc/sys/kernel/random/boot_id", name + "\n");
  }
  /// As if the rewrite had not come to its end.
  static void unmark(const std::string& path) { unlink((of(path) + ".done").c_str()); }
  static std::string held(const std::string& path) {
    const int file = lock_sharefile(path.c_str());
    EXPECT_GE(file, 0);
    std::string text(100000, '\0');
    text.resize(static_cast<std::size_t>(read(file, text.data(), text.size())));
    close(file);
    return text;
  }
  static sandbox::lines listed_names() {
    share_list list;
    EXPECT_EQ(get_shareinfo_from_shareconf(list.get()), ORV_OK);
    sandbox::lines names;
    for (const tag_share_config* share : list.records()) names.push_back(share->name);
    return names;
  }

 private:
  static std::string text_of(const timespec& time) {
    char text[48];
    std::snprintf(text, sizeof text, "%020lld.%09ld", static_cast<long long>(time.tv_sec),
                  time.tv_nsec);
    return text;
  }
  static void mark_as_finished(const std::string& path, const std::string& time) {
    const std::string mark = of(path) + ".done";
    char target[128] = "";
    EXPECT_GT(readlink(mark.c_str(), target, sizeof target - 1), 0);
    std::string text = target;
    const std::size_t begin = text.find(' ') + 1;
    text.replace(begin, text.find(' ', begin) - begin, time);
    unlink(mark.c_str());
    EXPECT_EQ(symlink(text.c_str(), mark.c_str()), 0);
  }
};

#endif
