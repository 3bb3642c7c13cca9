#include <ctime>

#include "tests/share/share_machine.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

class ietd_file : public share_test {
 protected:
  sandbox::lines read_back(const std::string& text, int expected = ORV_OK) {
    return read_with(get_share_from_ietd, text, expected);
  }
  std::string written(share_list& list) {
    const open_file file(ietd_path);
    EXPECT_EQ(put_share_to_ietd(file.number(), list.get()), ORV_OK);
    EXPECT_TRUE(is_committed(ietd_path));
    return machine.read(ietd_path);
  }
  static constexpr char rest[] =
      ",Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n"
      "\tWthreads\t16\n";
};

TEST_F(ietd_file, has_a_target_with_users_and_lun_for_each_share) {
  machine.file("/etc/nas_userfile.conf", "bob||secret\nann||123456789012345\nann||other\n");
  share_list list;
  list.add(a_share("v.1", "iscsi")).add(a_share("w.20240102030405", "iscsi"));
  set_field(list.records()[0]->valid_users, "ann, bob ,,eve");
  set_field(list.records()[1]->valid_users, "");
  EXPECT_EQ(written(list),
            "Target iqn.2006-05.org.orv:v.1\n\tIncomingUser ann 123456789012\n"
            "\tIncomingUser bob secret\n\tIncomingUser eve \n\tLun 0 Path=/mnt/v.1" +
                std::string(rest) +
                "Target iqn.2006-05.org.orv:w.20240102030405\n\tLun 0 Path=/mnt/w.20240102030405" +
                rest);
}

TEST_F(ietd_file, stamps_a_new_target_with_the_local_time) {
  share_list list;
  list.add(a_share("vol", "iscsi"));
  set_field(list.only().valid_users, "");
  const std::time_t before = std::time(nullptr);
  const std::string text = written(list);
  const std::time_t after = std::time(nullptr);
  ASSERT_THAT(text, MatchesRegex("Target iqn.2006-05.org.orv:vol\\.[0-9]{14}\n(.|\n)*"));
  std::tm stamp{};
  strptime(text.substr(text.find("vol.") + 4, 14).c_str(), "%Y%m%d%H%M%S", &stamp);
  stamp.tm_isdst = -1;
  EXPECT_GE(std::mktime(&stamp), before);
  EXPECT_LE(std::mktime(&stamp), after);
}

TEST_F(ietd_file, stamps_by_the_time_zone_as_it_is_now) {
  share_list list;
  list.add(a_share("vol", "iscsi"));
  written(list);
  setenv("TZ", "FAR-9", 1);
  const std::time_t before = std::time(nullptr) + 9 * 3600;
  const std::string text = written(list);
  std::tm stamp{};
  strptime(text.substr(text.find("vol.") + 4, 14).c_str(), "%Y%m%d%H%M%S", &stamp);
  EXPECT_GE(timegm(&stamp), before);
}

TEST_F(ietd_file, keeps_the_stamp_of_a_target) {
  share_list list;
  list.add(a_share("vol", "iscsi"));
  const std::string text = written(list);
  share_list again;
  const open_file file(ietd_path);
  EXPECT_EQ(get_share_from_ietd(file.number(), again.get()), ORV_OK);
  EXPECT_EQ(written(again), text);
}

TEST_F(ietd_file, has_empty_passwords_without_a_user_file) {
  share_list list;
  list.add(a_share("v.1", "iscsi"));
  EXPECT_THAT(written(list), testing::HasSubstr("\n\tIncomingUser ann \n"));
}

TEST_F(ietd_file, stays_as_it_is_while_the_passwords_cannot_be_read) {
  const std::string before = "Target iqn.2006-05.org.orv:v.1\n\tIncomingUser ann secret\n";
  machine.file(ietd_path, before);
  machine.directory("/etc/nas_userfile.conf");
  share_list list;
  list.add(a_share("v.1", "iscsi"));
  {
    const open_file file(ietd_path);
    EXPECT_EQ(put_share_to_ietd(file.number(), list.get()), ORV_E_SHARE_WRITE);
  }
  EXPECT_EQ(machine.read(ietd_path), before);
}

TEST_F(ietd_file, needs_a_list_before_any_password) {
  machine.directory("/etc/nas_userfile.conf");
  machine.file(ietd_path, "old\n");
  const open_file file(ietd_path);
  EXPECT_EQ(put_share_to_ietd(file.number(), nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), refusal("put_share_to_ietd", ORV_E_FAILED, "Invalid argument"));
  EXPECT_EQ(machine.read(ietd_path), "old\n");
}

TEST_F(ietd_file, is_read_target_by_target) {
  EXPECT_THAT(read_back("Target iqn.x:vol.1\n\tIncomingUser ann pw\n\tIncomingUser bob\n"
                        "\tLun 0 Path=/dev/vg/a,Type=fileio\n\tMaxSessions 0\n"
                        "Target iqn.y:w:x\n  Lun 1 Type=,Path=/b\n\tLun 2  ScsiId=/c\n"),
              ElementsAre("vol.1||/dev/vg/a|iscsi|ann,bob|rw", "w:x||/c|iscsi||rw"));
}

TEST_F(ietd_file, passes_over_what_belongs_to_no_target) {
  EXPECT_THAT(read_back("IncomingUser ann pw\nLun 0 Path=/a\nTarget iqn.x:v\nLun 0 Path=/b\n"
                        "Target\nTargets \nTarget iqn\nLun 0 Path=/c\nIncomingUser bob\n"
                        "Target iqn.x:\nLun 0 Path=/d\nlun 0 Path=/e\ntarget iqn.x:w\n"),
              ElementsAre("v||/b|iscsi||rw"));
}

TEST_F(ietd_file, keeps_what_it_has_when_a_line_says_nothing) {
  EXPECT_THAT(read_back("Target iqn.x:v\nIncomingUser ann pw\nIncomingUser\nLun 0 Path=/a\n"
                        "Lun 1 Type\nLun 2\tPath=/b\n"),
              ElementsAre("v||/a|iscsi|ann|rw"));
}

TEST_F(ietd_file, cuts_the_stamp_of_a_long_name_when_it_is_read) {
  const std::string name(20, 'n');
  EXPECT_THAT(read_back("Target iqn.x:" + name + ".20240102030405\n"),
              ElementsAre(name + ".20240102030|||iscsi||rw"));
}

/// A name of 17 characters and its stamp fill the field of a name.
TEST_F(ietd_file, renames_targets_whose_names_leave_the_stamp_no_room) {
  share_list list;
  for (const std::size_t size : {17U, 18U, 31U, 32U}) {
    list.add(a_share(std::string(size, 'n'), "iscsi"));
    set_field(list.records().back()->valid_users, "");
  }
  const std::string first = written(list);
  const std::string stamp = first.substr(first.find('.', first.find("nn")), 15);
  share_list once;
  const open_file file(ietd_path);
  EXPECT_EQ(get_share_from_ietd(file.number(), once.get()), ORV_OK);
  const std::string second = written(once);
  const auto target = [](std::size_t size, const std::string& end) {
    return ":" + std::string(size, 'n') + end + "\n";
  };
  for (const auto& [size, kept] :
       {std::pair<std::size_t, std::size_t>{17, 15}, {18, 14}, {31, 1}}) {
    EXPECT_THAT(first, HasSubstr(target(size, stamp)));
    EXPECT_THAT(second, HasSubstr(target(size, stamp.substr(0, kept))));
  }
  // Nothing is left of this one's stamp: it gets a new one each time.
  EXPECT_EQ(once.records().at(3)->name, std::string(32, 'n'));
  EXPECT_THAT(second, HasSubstr("Target iqn.2006-05.org.orv:" + std::string(32, 'n') + ".2"));
}

TEST_F(ietd_file, takes_key_words_as_prefixes_and_ignores_short_lines) {
  EXPECT_THAT(read_back("TargetX iqn.x:v\nLunar 0 Path=/a\nIncomingUsers ann\nTarget:\nLun 0 x\n"),
              ElementsAre("v||/a|iscsi|ann|rw"));
}

TEST_F(ietd_file, uses_lines_of_8_characters_without_the_white_space_around_them) {
  EXPECT_THAT(read_back("Target iqn.x:v\nLun 0 Path=/a\nTarget:\nLun 0 Path=/b\n"),
              ElementsAre("v||/b|iscsi||rw"));
  EXPECT_THAT(read_back("Target iqn.x:v\nLun 0 Path=/a\n\tLun 0 = \n"),
              ElementsAre("v||/a|iscsi||rw"));
  EXPECT_THAT(read_back("Target iqn.x:v\nLun 0 Path=/b\n\tLun 0 =a \n"),
              ElementsAre("v||a|iscsi||rw"));
  EXPECT_THAT(read_back("Target iqn.x:v\nLun 0 Path=/a\nTarget :\nLun 0 Path=/b\n"),
              ElementsAre("v||/a|iscsi||rw"));
}

TEST_F(ietd_file, cuts_names_paths_and_users_to_their_fields) {
  std::string text =
      "Target iqn.x:" + std::string(60, 'n') + "\nLun 0 Path=/" + std::string(200, 'p') + "\n";
  for (int i = 0; i < 20; ++i) text += "IncomingUser " + std::string(20, 'u') + "\n";
  const auto found = read_back(text);
  ASSERT_EQ(found.size(), 1U);
  const std::size_t twelve_whole_users = 12 * 20 + 11;
  EXPECT_EQ(found[0].size(), 32U + 2 + 127 + 1 + 5 + 1 + twelve_whole_users + 3);
}

TEST_F(ietd_file, has_names_of_one_word) {
  share_list list;
  list.add(a_share("my vol\t1", "iscsi"));
  EXPECT_THAT(written(list), testing::StartsWith("Target iqn.2006-05.org.orv:my_vol_1."));
}

TEST_F(ietd_file, is_unchanged_when_a_user_fits_no_line) {
  share_list list;
  list.add(a_share("v.1", "iscsi"));
  set_field(list.only().valid_users, std::string(255, 'u'));
  machine.file(ietd_path, "old\n");
  const open_file file(ietd_path);
  EXPECT_EQ(put_share_to_ietd(file.number(), list.get()), ORV_E_SHARE_WRITE);
  EXPECT_EQ(machine.read(ietd_path), "old\n");
}

// --- Passwords -----------------------------------------------------------------------------------

class password_lookup : public share_test {
 protected:
  /// The password of ann, "unchanged" when there is none.
  std::string looked_up(const std::string& text, int size = 32) {
    machine.file("/etc/nas_userfile.conf", text);
    char password[32] = "unchanged";
    EXPECT_EQ(get_pwd_from_conf("ann", password, size), ORV_OK);
    return password;
  }
};

TEST_F(password_lookup, gives_what_follows_the_last_bar) {
  EXPECT_EQ(looked_up("bob||x\n\n  ann||secret  \nann||later\n"), "secret");
  EXPECT_EQ(looked_up("ann|a|b|c d"), "c d");
  EXPECT_EQ(looked_up("ann||"), "");
  EXPECT_EQ(looked_up("ann||123456", 4), "123");
}

TEST_F(password_lookup, changes_nothing_without_one) {
  for (const char* text : {"", "Ann||x\n", "anne||x\n", "ann|x\nann||y\n", "ann\nann||y\n"}) {
    EXPECT_EQ(looked_up(text), "unchanged") << text;
  }
  EXPECT_EQ(looked_up("ann||x", 0), "unchanged");
}

TEST_F(password_lookup, needs_its_arguments_and_the_file) {
  char password[8] = "";
  EXPECT_EQ(get_pwd_from_conf(nullptr, password, 8), -1);
  EXPECT_EQ(get_pwd_from_conf("ann", nullptr, 8), -1);
  machine.forget();
  set_field(password, "kept");
  EXPECT_EQ(get_pwd_from_conf("ann", password, 8), -2069);
  EXPECT_STREQ(password, "kept");
  EXPECT_THAT(machine.log(),
              testing::EndsWith(refusal("get_pwd_from_conf", -2069, "No such file or directory")));
}
