#ifndef ORV_TESTS_USER_USER_MACHINE_H
#define ORV_TESTS_USER_USER_MACHINE_H

#include <orv/user.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/sandbox/sandbox.h"

/// A list of users that a test owns.
class user_list {
 public:
  user_list() { user_list_init(&list_); }
  ~user_list() { user_list_fini(&list_); }
  user_list(const user_list&) = delete;
  user_list& operator=(const user_list&) = delete;

  tag_user_info_list* get() { return &list_; }

  /// Appends a record as a program that uses the library does.
  tag_user_info& add(const std::string& name, const std::string& password) {
    auto* const user = static_cast<tag_user_info*>(std::calloc(1, sizeof(tag_user_info)));
    name.copy(user->name, sizeof user->name - 1);
    password.copy(user->password, sizeof user->password - 1);
    list_node& anchor = list_.node;
    user->node = {&anchor, anchor.prev};
    anchor.prev->next = &user->node;
    anchor.prev = &user->node;
    return *user;
  }

  std::vector<tag_user_info*> records() {
    std::vector<tag_user_info*> all;
    for (list_node* node = list_.node.next; node != &list_.node; node = node->next) {
      char* const link = reinterpret_cast<char*>(node);
      all.push_back(reinterpret_cast<tag_user_info*>(link - offsetof(tag_user_info, node)));
    }
    return all;
  }

  /// One "UID|GID|NAME|PASSWORD|TYPE" for each record.
  sandbox::lines texts() {
    sandbox::lines all;
    for (const tag_user_info* user : records()) {
      all.push_back(std::to_string(user->uid) + '|' + std::to_string(user->gid) + '|' + user->name +
                    '|' + user->password + '|' + user->type);
    }
    return all;
  }

 private:
  tag_user_info_list list_;
};

/// A machine whose account files hold root only, with tools that make and delete accounts. What
/// smbpasswd reads when it makes a user is in `smb_input` then.
class user_test : public sandbox_test {
 protected:
  static constexpr char user_file[] = "/etc/nas_userfile.conf";
  static constexpr char smb_file[] = "/etc/samba/private/smbpasswd";
  static constexpr char root_in_passwd[] = "root:x:0:0:root:/root:/bin/sh\n";
  static constexpr char root_in_shadow[] = "root:*:19000:0:99999:7:::\n";
  static constexpr char root_in_group[] = "root:x:0:\n";

  user_test() {
    passwd("");
    machine.file("/etc/shadow", root_in_shadow, 0640);
    machine.file("/etc/group", root_in_group);
    machine.file(user_file, "", 0600);
    machine.file(smb_file, "", 0600);
    machine.tool("adduser")
        .runs(
            "echo \"$4:x:1000:1000:Linux User,,,:/home/$4:/bin/nologin\" >> /etc/passwd\n"
            "echo \"$4:!:19900:0:99999:7:::\" >> /etc/shadow\n"
            "echo \"$4:x:1000:\" >> /etc/group\n")
        .if_asked();
    machine.tool("userdel")
        .runs("sed -i \"/^$1:/d\" /etc/passwd /etc/shadow /etc/group\n")
        .if_asked();
    smbpasswd().on("-a ...").runs("cat > /smb_input; echo \"$3:added\" >> " + smb()).if_asked();
    smbpasswd().on("-x ...").runs("sed -i \"/^$2:/d\" " + smb()).if_asked();
  }

  /// root, and then these lines.
  void passwd(const std::string& lines) { machine.file("/etc/passwd", root_in_passwd + lines); }

  sandbox::fake_tool& smbpasswd() { return machine.tool("/usr/bin/smbpasswd"); }
  static std::string smb() { return smb_file; }
  std::string smb_input() { return machine.read("/smb_input"); }

  std::string users() { return machine.read(user_file); }
  void users(std::string_view text, mode_t mode = 0600) { machine.file(user_file, text, mode); }

  static tag_user_info request(const std::string& name, const std::string& password) {
    tag_user_info user{};
    name.copy(user.name, sizeof user.name - 1);
    password.copy(user.password, sizeof user.password - 1);
    return user;
  }
  static int add(const std::string& name, const std::string& password) {
    errno = 0;  // which the log shows
    return sys_user_add(request(name, password));
  }

  /// The password field of a name in the shadow file; "" when there is none.
  std::string hash_of(const std::string& name) {
    const std::string shadow = '\n' + machine.read("/etc/shadow");
    const std::size_t start = shadow.find('\n' + name + ':');
    if (start == std::string::npos) return "";
    const std::size_t hash = start + name.size() + 2;
    return shadow.substr(hash, shadow.find(':', hash) - hash);
  }

  /// A name is in the password file, and its hash in the shadow file.
  void expect_account(const std::string& name) {
    EXPECT_THAT('\n' + machine.read("/etc/passwd"), testing::HasSubstr('\n' + name + ":x:1000:"));
    EXPECT_THAT(hash_of(name), testing::MatchesRegex("\\$1\\$.{31}"));
  }

  /// The kept copies of committed files, in the order in which a user's change commits them.
  sandbox::lines committed() {
    sandbox::lines files;
    for (const std::string path :
         {"/etc/passwd", "/etc/shadow", "/etc/group", smb_file, user_file}) {
      if (machine.exists("/var/lib/orv/kept" + path)) files.push_back(path);
    }
    return files;
  }
  static sandbox::lines all_files() {
    return {"/etc/passwd", "/etc/shadow", "/etc/group", smb_file, user_file};
  }

  /// Of the kept copies that the next change makes, the n-th cannot be made.
  void lose_kept_copy(int nth) {
    // Beside the user file nothing can stand then, of which its copy would be a link.
    machine.file("/var/lib/orv/rewrites", "");
    machine.fail("mkstemp", EMFILE, nth);
  }
  /// That one was of the n-th of the five files, in their order. It would be there if its file were
  /// committed a second time.
  void expect_kept_but(int nth) {
    sandbox::lines others = all_files();
    const auto lost = static_cast<std::size_t>(nth) - 1;
    if (lost < others.size()) others.erase(others.begin() + nth - 1);
    EXPECT_THAT(committed(), testing::ElementsAreArray(others));
  }

  /// The content of every file that a change of users may touch.
  sandbox::lines contents() {
    sandbox::lines all;
    for (const std::string& path : all_files()) {
      all.push_back(path + '\n' + (machine.exists(path) ? machine.read(path) : "none"));
    }
    for (const std::string& name : machine.list("/etc")) all.push_back(name);
    return all;
  }
};

#endif
