/// Where passwords go: the functions that handle them are run with a known one, and everything that
/// they leave behind or show on their way is searched for it.
#include <orv.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <sstream>

#include "common/families.h"
#include "tests/sandbox/programs/records.h"
#include "tests/user/user_machine.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// With a character of each kind that is changed on the way to a command.
constexpr char password[] = "Kf9\"wq$Zt\\2`xL'm|";

std::string in_base64(const std::string& text) {
  constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string coded;
  for (std::size_t i = 0; i + 2 < text.size(); i += 3) {
    const auto byte = [&](std::size_t at) -> unsigned {
      return static_cast<unsigned char>(text[i + at]);
    };
    const unsigned bits = (byte(0) << 16U) | (byte(1) << 8U) | byte(2);
    for (const unsigned shift : {18U, 12U, 6U, 0U}) coded += digits[(bits >> shift) & 63U];
  }
  return coded;
}

std::string in_hexadecimal(const std::string& text, const std::string& before_each) {
  std::string coded;
  for (const char c : text) {
    constexpr char digits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    coded += before_each + digits[byte >> 4U] + digits[byte & 15U];
  }
  return coded;
}

std::string escaped(const std::string& text, const std::string& characters) {
  std::string result;
  for (const char c : text) {
    if (characters.find(c) != std::string::npos) result += '\\';
    result += c;
  }
  return result;
}

/// The password in every form in which it could be written down. Seven characters of its beginning
/// and of its end give it away too, where nothing in them is changed.
std::vector<std::string> forms() {
  const std::string text = password;
  return {text,
          escaped(text, "\\\"$`"),
          escaped(escaped(text, "\\"), "\\\"$`"),
          escaped(text, "\\\""),
          escaped(text, "\\"),
          escaped(text, "'"),
          in_base64(text),
          in_hexadecimal(text, ""),
          in_hexadecimal(text, "\\x"),
          in_hexadecimal(text, "%"),
          text.substr(0, 12),
          text.substr(text.size() - 8)};
}

bool gives_away(const std::string& text) {
  const auto all = forms();
  return std::any_of(all.begin(), all.end(),
                     [&](const std::string& form) { return text.find(form) != std::string::npos; });
}

}  // namespace

class secrets : public user_test {
 protected:
  secrets() {
    machine.file("/etc/sharefolder.conf", "");
    machine.file("/etc/ietd.conf", "", 0600);
    // Whatever is read by a command: what lies in the folder of temporary files meanwhile.
    machine.tool("cat").runs("stat -c '%a %F' /tmp/* >> /temporary; cat \"$@\"").if_asked();
    machine.directory("/tmp");
  }

  ~secrets() override { umask(before_); }

  void with_umask(mode_t mask) { umask(mask); }

  /// "MODE PATH" of every file that gives the password away, but for what the fake smbpasswd read.
  sandbox::lines files() const {
    sandbox::lines found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator("/")) {
      const std::string path = entry.path();
      const bool is_stage = path.starts_with("/.sandbox") || path.starts_with("/dev/");
      if (is_stage || path == "/smb_input" || !entry.is_regular_file()) continue;
      if (gives_away(sandbox::whole_file(path.c_str()))) found.push_back(mode_and_path(path));
    }
    std::sort(found.begin(), found.end());
    return found;
  }

  std::string mode_and_path(const std::string& path) const {
    std::array<char, 16> octal{};
    std::snprintf(octal.data(), octal.size(), "%o ", machine.mode(path));
    // A companion has the numbers of its file for a name.
    constexpr char companions[] = "/var/lib/orv/rewrites/";
    return octal.data() + (path.starts_with(companions) ? companions + std::string("N") : path);
  }

  /// No tool was told the password, and no log line tells it; the shell was told it only in the
  /// documented line.
  void expect_told_to_nobody() const {
    for (const auto& call : machine.call_records()) {
      for (const std::string& word : call.words) EXPECT_FALSE(gives_away(word)) << word;
      for (const auto& [name, value] : call.environment) {
        EXPECT_FALSE(gives_away(value)) << name;
      }
    }
    for (const auto& record : machine.log_records()) EXPECT_FALSE(gives_away(record.text));
    for (const std::string& command : machine.commands()) {
      const bool is_password_line = command.starts_with("echo -e \"") &&
                                    command.ends_with("\" | /usr/bin/smbpasswd -a -s eve");
      EXPECT_TRUE(is_password_line || !gives_away(command)) << command;
    }
    EXPECT_THAT(machine.temp_files(), IsEmpty());
  }

  void expect_temporary_files_are_closed() const {
    for (const std::string& line : sandbox_lines("/temporary")) {
      EXPECT_TRUE(line.starts_with("600 ")) << line;
    }
  }

  sandbox::lines sandbox_lines(const std::string& path) const {
    sandbox::lines all;
    std::istringstream text(machine.exists(path) ? machine.read(path) : "");
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  }

  static tag_share_config volume() {
    tag_share_config share;
    share_conf_init(&share);
    for (const auto& [field, text] : {std::pair<char*, const char*>{share.name, "vol"},
                                      {share.service, "iscsi"},
                                      {share.path, "/mnt/vol"},
                                      {share.valid_users, "eve"}}) {
      liborv_strncpy(field, 32, text);
    }
    return share;
  }

  mode_t before_ = umask(022);
};

TEST_F(secrets, of_a_new_user_are_in_the_user_file_and_its_copy_alone) {
  for (const mode_t mask : {0U, 022U, 077U}) {
    with_umask(mask);
    machine.remove("/etc/nas_userfile.conf");
    machine.remove("/var/lib/orv");
    passwd("");
    machine.file("/etc/group", root_in_group);
    EXPECT_EQ(add("eve", password), ORV_OK);
    EXPECT_THAT(files(), ElementsAre("600 /etc/nas_userfile.conf",
                                     "600 /var/lib/orv/kept/etc/nas_userfile.conf",
                                     "600 /var/lib/orv/rewrites/N"));
    expect_told_to_nobody();
    EXPECT_EQ(smb_input(), std::string(password) + '\n' + password + '\n');
  }
}

TEST_F(secrets, of_a_changed_and_a_deleted_user_leave_no_trace) {
  ASSERT_EQ(add("eve", password), ORV_OK);
  EXPECT_EQ(sys_user_modify("eve", request("eve", "another")), ORV_OK);
  EXPECT_THAT(files(), IsEmpty());
  EXPECT_EQ(sys_user_modify("eve", request("eve", password)), ORV_OK);
  EXPECT_EQ(files().size(), 3U);
  EXPECT_EQ(sys_user_delete("eve"), ORV_OK);
  EXPECT_THAT(files(), IsEmpty());
  expect_told_to_nobody();
}

TEST_F(secrets, are_not_logged_when_a_tool_fails) {
  smbpasswd().on("-a -s eve").fails(1);
  EXPECT_EQ(add("eve", password), ORV_E_COMMAND);
  EXPECT_THAT(machine.log(), HasSubstr("***"));
  EXPECT_THAT(files(), IsEmpty());
  expect_told_to_nobody();
}

TEST_F(secrets, that_cannot_be_taken_are_not_logged) {
  EXPECT_EQ(add("eve", std::string(password) + "\n"), ORV_E_COMMAND);
  EXPECT_THAT(files(), IsEmpty());
  expect_told_to_nobody();
}

TEST_F(secrets, are_not_told_when_they_are_checked) {
  ASSERT_EQ(add("eve", "right"), ORV_OK);
  machine.forget();
  EXPECT_EQ(sys_user_validpwd("eve", password), ORV_E_PASSWORD);
  EXPECT_THAT(files(), IsEmpty());
  EXPECT_FALSE(gives_away(machine.output()));
  expect_told_to_nobody();
}

TEST_F(secrets, of_iscsi_users_are_in_the_file_of_the_targets_and_its_copy) {
  const std::string short_one = std::string(password).substr(0, 12);
  for (const mode_t mask : {0U, 022U, 077U}) {
    with_umask(mask);
    machine.remove("/etc/ietd.conf");
    machine.remove("/var/lib/orv");
    users(std::string("eve||") + short_one + "\n");
    machine.file("/etc/sharefolder.conf", "");
    tag_share_config share = volume();
    EXPECT_EQ(share_add(&share), ORV_OK);
    EXPECT_EQ(share_mod(&share), ORV_OK);
    EXPECT_THAT(files(),
                ElementsAre("600 /etc/nas_userfile.conf", "700 /etc/ietd.conf",
                            "700 /var/lib/orv/kept/etc/ietd.conf", "700 /var/lib/orv/rewrites/N"));
    orv::scoped_list<tag_shareconf_list> list;
    EXPECT_EQ(get_shareinfo_from_ietd(list.get()), ORV_OK);
    expect_temporary_files_are_closed();
    EXPECT_FALSE(sandbox_lines("/temporary").empty());
    expect_told_to_nobody();
  }
}

TEST_F(secrets, of_the_shadow_file_are_not_kept_more_openly) {
  machine.file("/etc/shadow", "root:*:19000:0:99999:7:::\neve:$1$x$hash:19000::::::\n", 0600);
  machine.file("/etc/shadow-", "old\n", 0644);
  machine.file("/etc/shadow+", "stale\n", 0666);
  machine.file("/var/lib/orv/kept/etc/shadow", "old\n", 0644);
  ASSERT_EQ(add("adam", password), ORV_OK);
  EXPECT_EQ(machine.mode("/etc/shadow"), 0600U);
  EXPECT_EQ(machine.mode("/etc/shadow-"), 0600U);
  EXPECT_EQ(machine.mode("/var/lib/orv/kept/etc/shadow"), 0600U);
  EXPECT_FALSE(machine.exists("/etc/shadow+"));
}

TEST_F(secrets, of_kept_copies_are_as_closed_as_their_originals) {
  with_umask(0);
  for (const mode_t mode : {0600U, 0640U, 0400U}) {
    users("eve||x\n", mode);
    machine.file("/var/lib/orv/kept/etc/nas_userfile.conf", "old\n", 0666);
    EXPECT_EQ(conf_save("/etc/nas_userfile.conf"), 0);
    EXPECT_EQ(machine.mode("/var/lib/orv/kept/etc/nas_userfile.conf"), mode);
  }
  EXPECT_EQ(machine.list("/var/lib/orv/kept/etc"), sandbox::lines{"nas_userfile.conf"});
}

TEST_F(secrets, of_kept_copies_lie_in_folders_of_root_alone) {
  with_umask(0);
  EXPECT_EQ(conf_save("/etc/nas_userfile.conf"), 0);
  EXPECT_EQ(machine.mode("/var/lib/orv/kept"), 0700U);
  EXPECT_EQ(machine.mode("/var/lib/orv/kept/etc"), 0700U);
}
