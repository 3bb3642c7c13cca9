#include "tests/share/share_machine.h"

/// Values that would change the shape of a file.
class odd_values : public share_test {
 protected:
  static const sandbox::lines& values() {
    static const sandbox::lines all = {"a\nb",
                                       "a\r\n[b]\npath = /etc",
                                       "x]\n[y",
                                       "[x",
                                       "x]",
                                       "a=b",
                                       "a = b = c",
                                       "#a",
                                       "a#b",
                                       ";a",
                                       "a|b",
                                       "a:b",
                                       "a(b",
                                       "a)(b",
                                       "'a'",
                                       "\"a b\"",
                                       " a ",
                                       "\ta\t",
                                       "a\\",
                                       "a\\ \\",
                                       "a\\\t\\",
                                       "a\\\t",
                                       "a\x1a"
                                       "b",
                                       "a\f[b]",
                                       "\xc3\xa4\xe2\x82\xac",
                                       "$(reboot)",
                                       "-a",
                                       "a,b c",
                                       "global",
                                       "globals",
                                       "G lobal ",
                                       std::string(300, 'x'),
                                       std::string(300, '=')};
    return all;
  }
  /// Names that Samba takes for its global section.
  static bool is_global(const std::string& value) {
    return value == "global" || value == "globals" || value == "G lobal ";
  }
  /// Files of a service in which the share "first" stands.
  void begin(const std::string& service) {
    for (const char* path : {shares_path, exports_path, ietd_path}) machine.file(path, "");
    smb(global);
    tag_share_config first = a_share("first", service);
    EXPECT_EQ(share_add(&first), ORV_OK);
  }
  /// The users that Samba's file has for the only share, which was asked for with these.
  std::string written_users(const std::string& users) {
    smb(global);
    machine.file(shares_path, "");
    tag_share_config share = a_share("a");
    set_field(share.valid_users, users);
    EXPECT_EQ(share_add(&share), ORV_OK);
    const std::string text = smb();
    const std::string written = text.substr(text.find("valid users = ") + 14);
    return written.substr(0, written.find('\n'));
  }
  /// The share lists hold "first" and one more.
  void expect_two(const std::string& service) {
    EXPECT_EQ(names_in(shares_path, get_share_from_conf).size(), 2U);
    const std::pair<std::string, std::pair<const char*, share_reader>> files[] = {
        {"samba", {smb_path, get_share_from_smb}},
        {"nfs", {exports_path, get_share_from_nfs}},
        {"iscsi", {ietd_path, get_share_from_ietd}}};
    for (const auto& [word, file] : files) {
      if (word != service) continue;
      EXPECT_EQ(names_in(file.first, file.second).size(), 2U);
    }
  }
};

TEST_F(odd_values, of_comments_and_users_add_no_share) {
  for (const std::string service : {"samba", "nfs", "iscsi"}) {
    for (const std::string& value : values()) {
      SCOPED_TRACE(service + ": " + value);
      begin(service);
      tag_share_config share = a_share("a", service);
      set_field(share.comment, value);
      if (service != "iscsi" || value.size() < 200) set_field(share.valid_users, value);
      EXPECT_EQ(share_add(&share), ORV_OK);
      expect_two(service);
      EXPECT_EQ(share_mod(&share), ORV_OK);
      expect_two(service);
      EXPECT_EQ(share_del("a", service.c_str()), ORV_OK);
    }
  }
}

TEST_F(odd_values, of_paths_add_no_share) {
  for (const std::string service : {"samba", "nfs", "iscsi"}) {
    for (const std::string& value : values()) {
      SCOPED_TRACE(service + ": " + value);
      begin(service);
      tag_share_config share = a_share("a", service);
      set_field(share.path, "/mnt/" + value);
      EXPECT_EQ(share_add(&share), ORV_OK);
      expect_two(service);
    }
  }
}

TEST_F(odd_values, of_names_mean_the_same_share_to_every_operation) {
  for (const std::string service : {"samba", "nfs", "iscsi", "ftp"}) {
    for (const std::string& value : values()) {
      const bool is_nothing = value.find_first_not_of('=') == std::string::npos;
      if (is_nothing || (service == "samba" && is_global(value))) continue;
      SCOPED_TRACE(service + ": " + value);
      begin(service);
      tag_share_config share = a_share(value, service);
      set_field(share.path, "/mnt/" + std::string(share.name));
      EXPECT_EQ(share_add(&share), ORV_OK);
      expect_two(service);
      if (service == "nfs" && value.find('/') != std::string::npos) {
        continue;  // an export's name is the last part of its path
      }
      EXPECT_EQ(share_add(&share), service == "ftp" ? ORV_OK : ORV_E_SHARE_EXISTS);
      expect_two(service);
      EXPECT_EQ(share_mod(&share), service == "ftp" ? ORV_E_NO_SHARE : ORV_OK);
      expect_two(service);
      EXPECT_EQ(share_del(share.name, service.c_str()), ORV_OK);
      EXPECT_EQ(names_in(shares_path, get_share_from_conf), sandbox::lines{"first"});

      EXPECT_EQ(share_add(&share), ORV_OK);
      const bool has_recycle_file = service == "samba" || service == "nfs";
      EXPECT_EQ(share_set_use(&share), has_recycle_file ? ORV_OK : ORV_E_SERVICE_LOCKED);
      EXPECT_EQ(forbid_share_del(share.name), ORV_E_NO_SHARE);
      EXPECT_EQ(names_in(shares_path, get_share_from_conf), sandbox::lines{"first"});
    }
  }
}

TEST_F(odd_values, are_written_with_blanks_where_a_file_cannot_hold_them) {
  tag_share_config share = a_share("a]\nb=c", "samba");
  set_field(share.comment, "1\n2=3\t[4]\\");
  set_field(share.path, "/mnt/\x7f=");
  EXPECT_EQ(share_add(&share), ORV_OK);
  EXPECT_EQ(shares(),
            "[a  b c]\n    sharename = a  b c\n    path = /mnt/  \n    size = 7\n    samba = 1\n"
            "    nfs = 0\n    ftp = 0\n    iscsi = 0\n    comment = 1 2 3\t[4]\\\n");
  EXPECT_THAT(smb(),
              testing::HasSubstr("[a  b c]\n    comment = 1 2 3\t[4] \n    path = /mnt/  \n"));
}

/// Samba goes on in the next line behind "\", and behind "\" and a tab: the path of a share would
/// be part of its comment.
TEST_F(odd_values, never_take_the_next_line_of_a_samba_file_in) {
  tag_share_config share = a_share("a", "samba");
  set_field(share.comment, "c\\\t\\ \t");
  EXPECT_EQ(share_add(&share), ORV_OK);
  EXPECT_THAT(smb(), testing::HasSubstr("[a]\n    comment = c \t  \t\n    path = "));
}

TEST_F(odd_values, in_recycle_files_add_no_share_and_name_the_same_one) {
  for (const std::string service : {"samba", "nfs"}) {
    const char* const path = service == "nfs" ? exports_recy_path : smb_recy_path;
    const share_reader reader = service == "nfs" ? get_share_from_nfs : get_share_from_smb;
    for (const std::string& value : values()) {
      const bool is_nothing = value.find_first_not_of('=') == std::string::npos;
      if (is_nothing || value.find('/') != std::string::npos || is_global(value)) continue;
      SCOPED_TRACE(service + ": " + value);
      begin(service);
      machine.file(path, "");
      const auto request = [&] {
        tag_share_config share = a_share(value, service);
        set_field(share.path, "/mnt/" + std::string(share.name));
        set_field(share.comment, value);
        set_field(share.valid_users, value);
        return share;
      };
      tag_share_config share = request();
      EXPECT_EQ(share_add(&share), ORV_OK);
      EXPECT_EQ(share_set_use(&share), ORV_OK);
      EXPECT_EQ(names_in(path, reader).size(), 1U);
      share = request();
      EXPECT_EQ(share_recy_mod(&share), ORV_OK);
      EXPECT_EQ(names_in(path, reader).size(), 1U);
      EXPECT_EQ(names_in(shares_path, get_share_from_conf).size(), 2U);
      share_list listed;
      const open_file file(shares_path);
      EXPECT_EQ(get_share_from_conf(file.number(), listed.get()), ORV_OK);
      listed.records().at(1)->writable = 7;
      EXPECT_EQ(get_shareinfo_from_recy(listed.get()), ORV_OK);
      EXPECT_EQ(listed.records().at(1)->writable, 1);
      EXPECT_EQ(share_recy_del(share.name), service == "nfs" ? ORV_OK : ORV_E_NO_SHARE);
      EXPECT_THAT(names_in(path, reader), testing::IsEmpty());
      EXPECT_EQ(forbid_share_del(share.name), ORV_E_NO_SHARE);
      EXPECT_EQ(names_in(shares_path, get_share_from_conf), sandbox::lines{"first"});
    }
  }
}

TEST_F(odd_values, of_user_lists_are_cut_only_between_users) {
  for (const std::string separator : {",", " "}) {
    for (std::size_t first = 200; first < 250; ++first) {
      const std::string users = std::string(first, 'u') + separator + std::string(254 - first, 'v');
      const std::string value = written_users(users);
      const bool is_whole = value == users.substr(0, first);
      EXPECT_TRUE(is_whole || (first > value.size() && users.starts_with(value))) << first << value;
    }
  }
}

TEST_F(odd_values, of_a_list_of_one_long_user_are_cut_in_the_midst) {
  const std::string user(255, 'u');
  for (const std::string& users : {user, "," + user.substr(1)}) {
    const std::string value = written_users(users);
    EXPECT_GT(value.size(), 200U);
    EXPECT_TRUE(users.starts_with(value)) << value;
  }
}

TEST_F(odd_values, of_user_lists_end_at_a_whole_user) {
  std::string users = "user00";
  for (int i = 1; users.size() < 248; ++i) users += ",user" + std::to_string(10 + i);
  const std::string written = written_users(users);
  EXPECT_LT(written.size(), 239U);
  EXPECT_EQ(users.substr(0, written.size() + 1), written + ',');
}
