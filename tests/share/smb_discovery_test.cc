#include <orv/support.h>

#include "tests/share/discovery.h"
#include "tests/share/odd_ini_file.h"

using testing::ElementsAre;

namespace {

class samba_rights : public discovery_test {
 protected:
  /// What becomes of a share "s" with the user ann when its section has these lines.
  std::string with(const std::string& lines) {
    smb(global + std::string("[s]\n") + lines);
    share_list one;
    tag_share_config share = a_share("s");
    one.add(share);
    EXPECT_EQ(get_shareinfo_from_smbconf(one.get()), ORV_OK);
    EXPECT_EQ(machine.log(), "");
    return std::string(one.only().valid_users) + (one.only().writable == 1 ? "|rw" : "|ro");
  }
};

TEST_F(samba_rights, and_users_are_taken_from_the_section_of_the_share) {
  add("photos", "samba", "/p");
  add("films", "samba", "/f");
  smb(global + offered("films", "bob,eve", "writable = no") + offered("photos", "ann"));
  EXPECT_THAT(after(get_shareinfo_from_smbconf),
              ElementsAre("photos||/p|samba|ann|rw", "films||/f|samba|bob,eve|ro"));
  EXPECT_EQ(machine.output(), "");
}

TEST_F(samba_rights, are_those_of_samba_shares_only) {
  for (const char* service : {"samba,nfs", "Samba", "nfs", "", "cifs"}) add("s", service);
  smb(offered("s", "bob", "writable = no"));
  EXPECT_THAT(
      after(get_shareinfo_from_smbconf),
      ElementsAre("s|||samba,nfs||rw", "s|||Samba||rw", "s|||nfs||rw", "s|||||rw", "s|||cifs||rw"));
}

TEST_F(samba_rights, are_for_reading_only_when_the_value_is_no) {
  EXPECT_EQ(with("writable = no\n"), "ann|ro");
  EXPECT_EQ(with("writable=no"), "ann|ro");
  for (const char* value : {"yes", "No", "NO", "0", "false", "", "no no", "nope"}) {
    EXPECT_EQ(with(std::string("writable = ") + value + '\n'), "ann|rw") << value;
  }
  EXPECT_EQ(with(""), "ann|rw");
  EXPECT_EQ(with("read only = yes\nWritable = no\n"), "ann|rw");
}

TEST_F(samba_rights, are_found_in_the_other_spelling_when_the_first_is_missing) {
  EXPECT_EQ(with("writeable = no\n"), "ann|ro");
  EXPECT_EQ(with("writeable = yes\n"), "ann|rw");
  EXPECT_EQ(with("writeable = no\nwritable = yes\n"), "ann|rw");
  EXPECT_EQ(with("writeable = no\nwritable =\n"), "ann|rw");
  EXPECT_EQ(with("writeable = yes\nwritable = no\n"), "ann|ro");
}

TEST_F(samba_rights, stay_as_they_were_when_nothing_takes_them_away) {
  add("s", "samba").writable = 0;
  smb(offered("s", "bob", "writable = yes"));
  EXPECT_THAT(after(get_shareinfo_from_smbconf), ElementsAre("s|||samba|bob|ro"));
}

TEST_F(samba_rights, leave_the_users_alone_when_the_section_has_none) {
  EXPECT_EQ(with("public = yes\n"), "ann|rw");
  EXPECT_EQ(with("valid users =\n"), "|rw");
  EXPECT_EQ(with("valid users = bob, eve @staff\n"), "bob, eve @staff|rw");
  EXPECT_EQ(with("valid users = " + std::string(300, 'u') + "\n"), std::string(255, 'u') + "|rw");
}

TEST_F(samba_rights, are_those_of_the_first_section_and_of_its_first_keys) {
  EXPECT_EQ(with("writable = no\nwritable = yes\nvalid users = bob\nvalid users = eve\n"
                 "[s]\nvalid users = joe\n"),
            "bob|ro");
  EXPECT_EQ(with("[s]\nvalid users = joe\n"), "ann|rw");
}

TEST_F(samba_rights, of_a_share_called_global_are_the_global_ones) {
  add("global", "samba");
  smb("[global]\nwritable = no\n");
  EXPECT_THAT(after(get_shareinfo_from_smbconf), ElementsAre("global|||samba||ro"));
}

TEST_F(samba_rights, are_unknown_where_the_file_cannot_be_read) {
  tag_share_config share = a_share("s");
  list.add(share);
  EXPECT_THAT(after(get_shareinfo_from_smbconf), ElementsAre("s|of s|/mnt/s|samba|ann|rw"));
  machine.directory(smb_path);
  EXPECT_THAT(after(get_shareinfo_from_smbconf), ElementsAre("s|of s|/mnt/s|samba|ann|rw"));
}

TEST_F(samba_rights, refuse_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_smbconf, "get_shareinfo_from_smbconf");
}

/// Users and right of a share as lookups of every single key find them.
std::string looked_up_one_by_one(const char* path, const std::string& name) {
  char users[256] = "";
  char right[20] = "";
  if (ini_value_get(right, path, name.c_str(), "writable", sizeof right) != 0) {
    ini_value_get(right, path, name.c_str(), "writeable", sizeof right);
  }
  ini_value_get(users, path, name.c_str(), "valid users", sizeof users);
  return name + "|||samba|" + users + (std::string(right) == "no" ? "|ro" : "|rw");
}

TEST_F(samba_rights, are_what_lookups_one_by_one_find_in_whatever_file) {
  const sandbox::lines names = {"a", "b", "c", " a ", "a b", "", "[b", "a=b", "a#", "\xc3\xa4"};
  odd_ini_file file({"writable", "writeable", "valid users", "comment"});
  int with_users = 0;
  for (int i = 0; i < 1000; ++i) {
    smb(file.next());
    sandbox::lines expected;
    for (const std::string& name : names) expected.push_back(looked_up_one_by_one(smb_path, name));
    share_list found;
    for (const std::string& name : names) {
      tag_share_config share;
      share_conf_init(&share);
      set_field(share.name, name);
      set_field(share.service, "samba");
      found.add(share);
    }
    ASSERT_EQ(get_shareinfo_from_smbconf(found.get()), ORV_OK);
    ASSERT_EQ(found.told(), expected) << file.text();
    for (const tag_share_config* share : found.records()) with_users += *share->valid_users != 0;
  }
  EXPECT_GT(with_users, 500);
}

}  // namespace
