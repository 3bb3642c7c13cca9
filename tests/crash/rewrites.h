#ifndef ORV_TESTS_CRASH_REWRITES_H
#define ORV_TESTS_CRASH_REWRITES_H

#include <orv.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/share/share_machine.h"
#include "tests/user/user_machine.h"

/// The contents of files, by path.
using contents = std::map<std::string, std::string>;

/// A function that rewrites files.
struct rewrite_case {
  std::string name;
  contents files;  ///< as they are before
  std::function<int()> change;
};

/// True in the long version: every call, and as many rounds as the issue of it can take.
inline bool is_long() { return std::getenv("ORV_LONG") != nullptr; }
inline int rounds(int usual, int many) { return is_long() ? many : usual; }

/// A machine with all the tools that a change of its files runs.
class rewrite_test : public share_test {
 public:
  static constexpr std::size_t cases = 17;

 protected:
  rewrite_test() {
    machine.tool("mv").is_real();
    machine.file("/etc/sys_info", "[product]\ntype=KTA7120X\n");
    machine.file("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\n");
    machine.file("/etc/group", "root:x:0:\n");
    for (const char* tool : {"adduser", "userdel"}) machine.tool(tool).succeeds().if_asked();
    machine.tool("/usr/bin/smbpasswd").runs("cat > /dev/null").if_asked();
    machine.tool("smbpasswd").succeeds().if_asked();
    machine.file("/proc/mounts", "/dev/sda1 / ext4 rw 0 0\n");
    for (const char* tool : {"umount", "chattr", "rm"}) machine.tool(tool).succeeds().if_asked();
  }

  /// A list long enough to be written in more than one page.
  static std::string many_listed(int count = 60) {
    std::string text;
    for (int i = 0; i < count; ++i) text += listed("old" + std::to_string(i), "nfs");
    return text;
  }
  static std::string shadow_of(int count = 100) {
    std::string text = "root:*:19000:0:99999:7:::\nbob:!:19900:0:99999:7:::\n";
    for (int i = 0; i < count; ++i) text += "u" + std::to_string(i) + ":!:19900:0:99999:7:::\n";
    return text;
  }
  static std::string users_of(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "user" + std::to_string(i) + "||secret\n";
    return text;
  }
  static int add_user(const std::string& name) {
    tag_user_info user{};
    name.copy(user.name, sizeof user.name - 1);
    set_field(user.password, "secret");
    return sys_user_add(user);
  }

  void set_up(const contents& files) {
    machine.remove("/var/lib/orv");
    for (const auto& [path, text] : files) machine.file(path, text, 0640);
  }

  /// What the next operation finds in a file. A hash has another salt each time.
  std::string found_in(const std::string& path) {
    if (is_share_file(path)) {
      const int file = lock_sharefile(path.c_str());
      EXPECT_GE(file, 0) << path << " is still locked";
      close(file);
    }
    if (path == "/etc/nas_userfile.conf") return users_found();
    return without_hashes(machine.read(path));
  }
  /// The copy that was kept of a file; empty when there is none.
  std::string kept_of(const std::string& path) {
    const std::string kept = "/var/lib/orv/kept" + path;
    return machine.exists(kept) ? without_hashes(machine.read(kept)) : "";
  }
  contents found(const contents& files) {
    contents all;
    for (const auto& [path, text] : files) all[path] = found_in(path);
    return all;
  }

  /// Helper files that an operation leaves only when it is killed.
  sandbox::lines helpers() {
    sandbox::lines all;
    for (const std::string folder : {"/etc", "/etc/samba", "/var/lib/orv/rewrites",
                                     "/var/lib/orv/kept/etc", "/var/lib/orv/kept/etc/samba"}) {
      if (!machine.exists(folder)) continue;
      for (const std::string& name : machine.list(folder)) {
        if (name.ends_with('+') || name.find(".new") != name.npos) all.push_back(name);
      }
    }
    return all;
  }

  std::vector<rewrite_case> all_cases();

 private:
  static bool is_share_file(const std::string& path) {
    for (const char* each :
         {shares_path, smb_path, smb_recy_path, exports_path, exports_recy_path, ietd_path}) {
      if (path == each) return true;
    }
    return false;
  }
  static std::string users_found() {
    user_list users;
    EXPECT_EQ(get_users_from_conf(users.get()), ORV_OK);
    std::string text;
    for (const tag_user_info* user : users.records()) {
      text += std::string(user->name) + "||" + user->password + '\n';
    }
    return text;
  }
  static std::string without_hashes(std::string text) {
    for (std::size_t at = 0; (at = text.find("$1$", at)) != text.npos; ++at) {
      text.replace(at, text.find(':', at) - at, "H");
    }
    return text;
  }
};

#endif
