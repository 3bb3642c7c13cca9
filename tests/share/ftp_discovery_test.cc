#include <set>

#include "tests/share/discovery.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class ftp_users : public discovery_test {
 protected:
  static constexpr int room = 40;

  void user(const std::string& name, const std::string& text = "") {
    machine.file("/etc/vsftpd/" + name, text);
  }

  sandbox::lines found(int max = room) {
    char names[room][33] = {};
    const int count = get_ftp_user(names, max);
    EXPECT_GE(count, 0);
    return {names, names + count};
  }
};

TEST_F(ftp_users, are_those_with_a_file_of_their_own) {
  user("ann");
  user("bob", "local_root=/mnt/x\n");
  user(".hidden");
  user("my user");
  EXPECT_THAT(found(), UnorderedElementsAre("ann", "bob", ".hidden", "my user"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(ftp_users, are_no_directories_and_no_dangling_links) {
  user("ann");
  machine.directory("/etc/vsftpd/folder");
  machine.link("/etc/vsftpd/linked", "/etc/vsftpd/ann");
  machine.link("/etc/vsftpd/dangling", "/etc/none");
  machine.link("/etc/vsftpd/folder_link", "/etc");
  EXPECT_THAT(found(), UnorderedElementsAre("ann", "linked"));
}

TEST_F(ftp_users, are_counted_up_to_the_room_for_them) {
  for (int i = 0; i < 5; ++i) user("user" + std::to_string(i));
  EXPECT_EQ(found(5).size(), 5U);
  const sandbox::lines all = found();
  EXPECT_EQ(found(3), sandbox::lines(all.begin(), all.begin() + 3));
  EXPECT_THAT(found(0), IsEmpty());
  EXPECT_THAT(found(-1), IsEmpty());
}

TEST_F(ftp_users, have_names_of_at_most_32_characters) {
  user(std::string(51, 'u'));
  EXPECT_THAT(found(), ElementsAre(std::string(32, 'u')));
}

TEST_F(ftp_users, are_not_found_behind_a_path_longer_than_63_characters) {
  user(std::string(52, 'u'));
  user(std::string(255, 'v'));
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(ftp_users, are_none_in_an_empty_folder) {
  machine.directory("/etc/vsftpd");
  EXPECT_THAT(found(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(ftp_users, are_unknown_without_the_folder) {
  char names[room][33] = {"before"};
  EXPECT_EQ(get_ftp_user(names, room), ORV_E_FTP_USERS);
  EXPECT_STREQ(names[0], "before");
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "get_ftp_user:1121 return with No such file or directory\n");
}

TEST_F(ftp_users, are_unknown_where_the_folder_is_none) {
  char names[room][33] = {};
  machine.file("/etc/vsftpd", "");
  EXPECT_EQ(get_ftp_user(names, room), ORV_E_FTP_USERS);
  EXPECT_EQ(machine.log(), "get_ftp_user:N return with Not a directory\n");
}

TEST_F(ftp_users, need_room) {
  EXPECT_EQ(get_ftp_user(nullptr, room), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), refusal("get_ftp_user", ORV_E_FAILED, "Invalid argument"));
}

class ftp_shares : public ftp_users {
 protected:
  /// A per-user file that offers a share.
  void user_with(const std::string& name, const std::string& share) {
    user(name, "write_enable=NO\nlocal_root=/mnt/" + share + "\n");
  }
};

TEST_F(ftp_shares, get_the_users_whose_files_offer_them) {
  add("photos", "ftp");
  add("films", "FTP");
  add("films", "samba");
  user_with("ann", "films");
  machine.directory("/home/ann");
  EXPECT_THAT(after(get_shareinfo_from_ftpconf),
              ElementsAre("photos|||ftp||rw", "films|||FTP|ann|ro", "films|||samba||rw"));
  EXPECT_EQ(machine.output(), "");
}

TEST_F(ftp_shares, get_the_user_in_whose_home_they_lie) {
  add("photos", "ftp").writable = 0;
  user("ann");
  machine.directory("/home/ann/photos");
  EXPECT_THAT(after(get_shareinfo_from_ftpconf), ElementsAre("photos|||ftp|ann|rw"));
}

TEST_F(ftp_shares, are_looked_for_in_homes_up_to_the_first_success) {
  add("photos", "ftp");
  for (const char* name : {"ann", "bob", "eve"}) {
    user(name);
    machine.directory(std::string("/home/") + name + "/photos");
  }
  EXPECT_THAT(after(get_shareinfo_from_ftpconf),
              ElementsAre("photos|||ftp|" + found().front() + "|rw"));
}

TEST_F(ftp_shares, are_looked_for_in_all_homes_when_none_is_a_success) {
  add("other", "ftp");
  add("photos", "ftp");
  for (const char* name : {"ann", "bob", "eve"}) {
    user(name);
    machine.directory(std::string("/home/") + name + "/photos");
  }
  EXPECT_THAT(after(get_shareinfo_from_ftpconf),
              ElementsAre("other|||ftp||rw", "photos|||ftp|" + found().back() + "|rw"));
}

TEST_F(ftp_shares, are_looked_for_beyond_a_home_without_directories) {
  add("photos", "ftp");
  user("ann");
  user("bob");
  const std::string last = found().back();
  machine.directory("/home/" + found().front());
  machine.directory("/home/" + last + "/photos");
  EXPECT_THAT(after(get_shareinfo_from_ftpconf), ElementsAre("photos|||ftp|" + last + "|rw"));
}

TEST_F(ftp_shares, of_a_user_without_a_home_are_found_all_the_same) {
  add("photos", "ftp");
  user_with("ann", "photos");
  EXPECT_EQ(get_shareinfo_from_ftpconf(list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("photos|||ftp|ann|ro"));
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "find_one_user:1166 return 1 with No such file or directory\n");
}

TEST_F(ftp_shares, get_nobody_from_the_file_of_the_common_user) {
  add("photos", "ftp");
  user_with("ftpuser", "photos");
  machine.directory("/home/ftpuser");
  EXPECT_THAT(found(), ElementsAre("ftpuser"));
  EXPECT_THAT(after(get_shareinfo_from_ftpconf), ElementsAre("photos|||ftp||rw"));
  user_with("ftpuser2", "photos");
  machine.directory("/home/ftpuser2");
  EXPECT_THAT(after(get_shareinfo_from_ftpconf), ElementsAre("photos|||ftp|ftpuser2|ro"));
}

TEST_F(ftp_shares, get_the_common_user_when_they_lie_in_its_home) {
  add("photos", "ftp");
  user("ftpuser");
  machine.directory("/home/ftpuser/photos");
  EXPECT_THAT(after(get_shareinfo_from_ftpconf), ElementsAre("photos|||ftp|ftpuser|rw"));
}

TEST_F(ftp_shares, get_at_most_32_users_the_first_ones_of_the_folder) {
  for (int i = 0; i < 40; ++i) {
    const std::string number = std::to_string(i);
    add("share" + number, "ftp");
    user_with("user" + number, "share" + number);
    machine.directory("/home/user" + number);
  }
  const sandbox::lines all = found();
  ASSERT_EQ(all.size(), 40U);
  const std::set<std::string> first(all.begin(), all.begin() + 32);
  after(get_shareinfo_from_ftpconf);
  std::set<std::string> users;
  for (const tag_share_config* share : list.records()) users.insert(share->valid_users);
  users.erase("");
  EXPECT_EQ(users, first);
}

TEST_F(ftp_shares, get_no_users_without_the_folder) {
  add("photos", "ftp");
  EXPECT_EQ(get_shareinfo_from_ftpconf(list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("photos|||ftp||rw"));
  EXPECT_EQ(machine.log(), "get_ftp_user:N return with No such file or directory\n");
}

TEST_F(ftp_shares, refuse_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_ftpconf, "get_shareinfo_from_ftpconf");
}

}  // namespace
