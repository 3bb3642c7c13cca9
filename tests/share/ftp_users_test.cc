#include "common/handles.h"
#include "tests/share/share_machine.h"

using testing::ElementsAre;

class ftp_users : public share_test {
 protected:
  ftp_users() {
    for (const char* name : {"a", "b", "c"}) {
      tag_share_config share = a_share(name, std::string(name) == "b" ? "nfs" : "FTP");
      share.writable = 0;
      list.add(share);
    }
  }
  void add_share(const std::string& name) { list.add(a_share(name, "ftp")); }
  std::string after_configuration(const std::string& text) {
    machine.file("/etc/vsftpd/eve", text);
    EXPECT_EQ(find_sub_user("eve", list.get()), ORV_OK);
    return told(*list.records()[2]);
  }
  share_list list;
};

TEST_F(ftp_users, home_directories_give_shares_to_their_user) {
  machine.directory("/home/eve/c");
  machine.file("/home/eve/a", "a file");
  machine.directory("/home/eve/.hidden/a");
  find_one_user("eve", list.get());
  EXPECT_THAT(list.told(), ElementsAre("a|of a|/mnt/a|FTP|ann|ro", "b|of b|/mnt/b|nfs|ann|ro",
                                       "c|of c|/mnt/c|FTP|eve|rw"));
}

TEST_F(ftp_users, link_to_a_directory_is_one_and_a_dangling_link_is_none) {
  machine.directory("/home/eve");
  machine.link("/home/eve/a", "/etc");
  machine.link("/home/eve/c", "/none");
  EXPECT_EQ(find_one_user("eve", list.get()), 0);
  EXPECT_STREQ(list.records()[0]->valid_users, "eve");
  EXPECT_STREQ(list.records()[2]->valid_users, "ann");
}

TEST_F(ftp_users, first_share_of_a_directory_counts) {
  list.add(a_share("x"));
  tag_share_config& second = *list.records()[3];
  set_field(second.name, "a");
  set_field(second.service, "ftp");
  machine.directory("/home/eve/a");
  EXPECT_EQ(find_one_user("eve", list.get()), 0);
  EXPECT_STREQ(second.valid_users, "ann");
}

TEST_F(ftp_users, result_counts_the_records_passed_over) {
  machine.directory("/home/eve");
  EXPECT_EQ(find_one_user("eve", list.get()), 1);
  machine.directory("/home/eve/c");
  EXPECT_EQ(find_one_user("eve", list.get()), -2);
  machine.remove("/home/eve/c");
  machine.directory("/home/eve/b");
  EXPECT_EQ(find_one_user("eve", list.get()), -3);
}

/// The names in a directory, in its order.
static sandbox::lines entries_of(const char* path) {
  sandbox::lines names;
  const orv::unique_directory directory(opendir(path));
  while (const dirent* const entry = readdir(directory.get())) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  return names;
}

/// What a search through the list for one directory of eve's gives, and changes.
static int searched(share_list& list, const std::string& folder) {
  int result = 0;
  for (tag_share_config* share : list.records()) {
    if (share->name == folder && std::string(share->service) != "nfs") {
      share->writable = 1;
      set_field(share->valid_users, "eve");
      break;
    }
    --result;
  }
  return result;
}

TEST_F(ftp_users, result_is_that_of_the_last_directory_of_many) {
  share_list expected;
  for (int i = 0; i < 300; ++i) {
    const std::string name = "s" + std::to_string(i % 200);  // some of them twice
    tag_share_config share = a_share("s" + std::to_string(i), i % 3 == 0 ? "nfs" : "Ftp");
    share.writable = 0;
    for (share_list* both : {&list, &expected}) {
      both->add(share);
      set_field(both->records().back()->name, name);
    }
  }
  int result = 1;
  for (int i = 0; i < 250; i += 2) machine.directory("/home/eve/s" + std::to_string(i));
  for (const std::string& folder : entries_of("/home/eve")) result = searched(expected, folder) - 3;
  EXPECT_EQ(find_one_user("eve", list.get()), result);
  sandbox::lines told = list.told();
  told.erase(told.begin(), told.begin() + 3);
  EXPECT_EQ(told, expected.told());
}

TEST_F(ftp_users, home_that_cannot_be_opened_is_logged_with_its_fixed_numbers) {
  EXPECT_EQ(find_one_user("eve", list.get()), -1062);
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "find_one_user:1166 return 1 with No such file or directory\n");
}

TEST_F(ftp_users, name_that_is_no_user_opens_nothing) {
  machine.directory("/home/a");
  machine.directory("/etc/vsftpd/x");
  for (const char* name : {static_cast<const char*>(nullptr), "", ".", "..", "../home", "x/y"}) {
    EXPECT_EQ(find_one_user(name, list.get()), -1062);
    EXPECT_EQ(find_sub_user(name, list.get()), -1);
  }
  EXPECT_STREQ(list.records()[0]->valid_users, "ann");
}

TEST_F(ftp_users, configuration_gives_its_root_to_the_user) {
  EXPECT_EQ(after_configuration("local_root=/mnt/c\n"), "c|of c|/mnt/c|FTP|eve|rw");
  EXPECT_EQ(after_configuration("write_enable=NO\nlocal_root=/mnt/vg/c\nwrite_enable=YES\n"),
            "c|of c|/mnt/c|FTP|eve|ro");
  EXPECT_EQ(after_configuration("write_enable=x=NO\nlocal_root=c"), "c|of c|/mnt/c|FTP|eve|ro");
  EXPECT_EQ(after_configuration("write_enable=no\nlocal_root=/c\n"), "c|of c|/mnt/c|FTP|eve|rw");
}

TEST_F(ftp_users, root_may_have_equal_signs_in_its_name) {
  add_share("x=c");
  machine.file("/etc/vsftpd/eve", "local_root=/mnt/x=c\n");
  EXPECT_EQ(find_sub_user("eve", list.get()), ORV_OK);
  EXPECT_STREQ(list.records()[2]->valid_users, "ann");
  EXPECT_STREQ(list.records()[3]->valid_users, "eve");
}

TEST_F(ftp_users, root_without_a_value_is_none) {
  add_share("local_root");
  const auto before = list.told();
  for (const char* text : {"local_root\n", "local_root=\n", "local_root=/mnt/c/\n"}) {
    machine.file("/etc/vsftpd/eve", text);
    EXPECT_EQ(find_sub_user("eve", list.get()), ORV_OK);
    EXPECT_EQ(list.told(), before) << text;
  }
}

TEST_F(ftp_users, first_line_of_a_key_counts_also_when_it_is_cut) {
  EXPECT_EQ(after_configuration("local_root=/mnt/" + std::string(120, 'x') + "/c\n" +
                                "local_root=/mnt/c\n"),
            "c|of c|/mnt/c|FTP|ann|ro");
  EXPECT_EQ(after_configuration(" write_enable =NO\nlocal_root=/mnt/c"),
            "c|of c|/mnt/c|FTP|eve|ro");
  EXPECT_EQ(after_configuration("write_enable\nlocal_root=/mnt/c"), "c|of c|/mnt/c|FTP|eve|rw");
}

TEST_F(ftp_users, configuration_of_no_ftp_share_changes_nothing) {
  const auto before = list.told();
  for (const char* root : {"", "local_root=\n", "local_root=/mnt/c/\n", "local_root=/mnt/b\n",
                           "local_root=/mnt/x\n", "root=/mnt/c\n"}) {
    after_configuration(root);
    EXPECT_EQ(list.told(), before) << root;
  }
}

TEST_F(ftp_users, need_a_configuration_and_a_list) {
  EXPECT_EQ(find_sub_user("eve", list.get()), -1);
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(find_sub_user("eve", nullptr), -1);
  EXPECT_EQ(find_one_user("eve", nullptr), -1);
}
