#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/sandbox/bend.h"
#include "tests/sandbox/libc.h"
#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class user_file_test : public user_test {
 protected:
  void TearDown() override {
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  sandbox::lines read_back() {
    user_list list;
    EXPECT_EQ(get_users_from_conf(list.get()), ORV_OK);
    return list.texts();
  }
  sandbox::lines read_back(std::string_view text) {
    users(text);
    return read_back();
  }

  /// What is written of one user, without its line end.
  std::string written(const std::string& name, const std::string& password) {
    user_list list;
    list.add(name, password);
    EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
    std::string text = users();
    EXPECT_EQ(text.back(), '\n');
    text.pop_back();
    return text;
  }

  /// Asks for a file with "ann" alone, written or not.
  static void ask_for_ann() {
    user_list list;
    list.add("ann", "secret");
    EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
  }
  void expect_failed_write() {
    EXPECT_EQ(machine.log(), "write_users:N return -2006 with Input/output error\n");
  }

  /// Replaces the file by one that fills its file system.
  std::string fill_disk() {
    machine.mount_tmpfs("/etc", "size=4k");
    std::string text;
    while (text.size() + 16 <= 4096) text += "user||password1\n";
    users(text);
    return text;
  }
};

TEST_F(user_file_test, is_read_in_its_order) {
  EXPECT_THAT(read_back("bob||secret\nann||longer password\n"),
              ElementsAre("0|0|bob|secret|NAS", "0|0|ann|longer password|SAN"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(user_file_test, makes_a_user_of_a_password_of_12_characters_a_san_user) {
  EXPECT_THAT(read_back("a||\nb||12345678901\nc||123456789012\n"),
              ElementsAre("0|0|a||NAS", "0|0|b|12345678901|NAS", "0|0|c|123456789012|SAN"));
}

TEST_F(user_file_test, cuts_names_and_passwords_at_23_characters) {
  const std::string c23(23, 'c');
  EXPECT_THAT(read_back(c23 + "||" + c23 + "\n" + c23 + "x||" + c23 + "x\n"),
              ElementsAre("0|0|" + c23 + '|' + c23 + "|SAN", "0|0|" + c23 + '|' + c23 + "|SAN"));
}

TEST_F(user_file_test, takes_the_text_after_the_last_bar_as_the_password) {
  EXPECT_THAT(read_back("a||b|c\na|b|c\na|b\n||c\n|\n"),
              ElementsAre("0|0|a|c|NAS", "0|0|a|c|NAS", "0|0|a|b|NAS", "0|0||c|NAS", "0|0|||NAS"));
}

TEST_F(user_file_test, takes_a_line_without_a_bar_as_a_name) {
  EXPECT_THAT(read_back("bob\n"), ElementsAre("0|0|bob||NAS"));
}

TEST_F(user_file_test, trims_lines_and_passes_empty_ones_over) {
  EXPECT_THAT(read_back("\n \t\r\n\v\f\n  bob ||  a b \t\r\n"), ElementsAre("0|0|bob |  a b|NAS"));
}

TEST_F(user_file_test, may_end_without_a_line_end_and_may_be_empty) {
  EXPECT_THAT(read_back("bob||secret"), ElementsAre("0|0|bob|secret|NAS"));
  EXPECT_THAT(read_back(""), IsEmpty());
}

TEST_F(user_file_test, is_read_whatever_bytes_it_holds) {
  EXPECT_THAT(read_back(std::string("\0bob||x\nann\0||y\n\xff\x01||\xc3\xa4\n", 23)),
              ElementsAre("0|0|ann||NAS", "0|0|\xff\x01|\xc3\xa4|NAS"));
}

TEST_F(user_file_test, counts_only_the_first_255_characters_of_a_line) {
  const std::string name(100000, 'n');
  const std::string bars = "x||" + std::string(300, '|');
  EXPECT_THAT(
      read_back(name + "||secret\n" + bars + "secret\nbob||secret\n"),
      ElementsAre("0|0|" + name.substr(0, 23) + "||NAS", "0|0|x||NAS", "0|0|bob|secret|NAS"));
}

TEST_F(user_file_test, is_added_to_the_list_that_is_given) {
  users("bob||secret\n");
  user_list list;
  list.add("ann", "first");
  EXPECT_EQ(get_users_from_conf(list.get()), ORV_OK);
  EXPECT_THAT(list.texts(), ElementsAre("0|0|ann|first|", "0|0|bob|secret|NAS"));
}

TEST_F(user_file_test, that_is_missing_or_unreadable_is_reported) {
  machine.remove(user_file);
  user_list list;
  EXPECT_EQ(get_users_from_conf(list.get()), ORV_E_USER_FILE);
  machine.directory(user_file);
  EXPECT_EQ(get_users_from_conf(list.get()), ORV_E_USER_FILE);
  EXPECT_EQ(sys_user_get(list.get()), ORV_E_USER_FILE);
  EXPECT_THAT(list.records(), IsEmpty());
  EXPECT_EQ(machine.log(),
            "get_users_from_conf:N return -2006 with No such file or directory\n"
            "get_users_from_conf:N return -2006 with Is a directory\n"
            "get_users_from_conf:N return -2006 with Is a directory\n");
}

TEST_F(user_file_test, fills_a_list_that_was_not_initialised) {
  users("bob||secret\n");
  user_list list;
  *list.get() = {};
  EXPECT_EQ(sys_user_get(list.get()), ORV_OK);
  EXPECT_THAT(list.texts(), ElementsAre("0|0|bob|secret|NAS"));
}

TEST_F(user_file_test, fills_a_list_again_once_it_is_released) {
  users("bob||secret\nann||secret\n");
  user_list list;
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(sys_user_get(list.get()), ORV_OK);
    EXPECT_THAT(list.texts(), ElementsAre("0|0|bob|secret|NAS", "0|0|ann|secret|NAS"));
    EXPECT_EQ(user_list_fini(list.get()), 0);
  }
}

TEST_F(user_file_test, is_not_touched_without_a_list) {
  users("bob||secret\n");
  EXPECT_EQ(get_users_from_conf(nullptr), ORV_E_FAILED);
  EXPECT_EQ(sys_user_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(set_users_to_conf(nullptr), ORV_E_FAILED);
  EXPECT_EQ(users(), "bob||secret\n");
  EXPECT_EQ(machine.log(),
            "get_users_from_conf:N return -1 with Invalid argument\n"
            "get_users_from_conf:N return -1 with Invalid argument\n"
            "set_users_to_conf:N return -1 with Invalid argument\n");
}

TEST_F(user_file_test, is_written_in_the_order_of_the_list) {
  users("old||one\nand||another\nand||a third\n");
  user_list list;
  list.add("bob", "secret");
  list.add("ann", "");
  EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
  EXPECT_EQ(users(), "bob||secret\nann||\n");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(user_file_test, is_not_written_while_somebody_else_changes_it) {
  users("old||one\n");
  ask_for_ann();
  const int other = ::open("/var/lib/orv/lock/nas_userfile.conf", O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  users("old||one\n");
  sandbox::hasten(std::chrono::seconds(4));
  ask_for_ann();
  EXPECT_EQ(machine.log(),
            "set_users_to_conf:N return -2006 with Resource temporarily unavailable\n");
  EXPECT_EQ(users(), "old||one\n");
  ::close(other);
  ask_for_ann();
  EXPECT_EQ(users(), "ann||secret\n");
}

TEST_F(user_file_test, of_no_users_is_empty) {
  users("old||one\n");
  user_list list;
  EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
  EXPECT_EQ(users(), "");
}

TEST_F(user_file_test, is_made_for_its_owner_alone) {
  machine.remove(user_file);
  EXPECT_EQ(written("bob", "secret"), "bob||secret");
  EXPECT_EQ(machine.mode(user_file), 0600U);
}

TEST_F(user_file_test, keeps_its_mode_owner_and_place) {
  users("old||one\n", 0640);
  if (machine.knows_other_users()) {
    ASSERT_EQ(::chown(user_file, 12, 34), 0);
  }
  struct stat before {};
  struct stat after {};
  ASSERT_EQ(::stat(user_file, &before), 0);
  EXPECT_EQ(written("bob", "secret"), "bob||secret");
  ASSERT_EQ(::stat(user_file, &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_F(user_file_test, is_written_where_a_link_leads) {
  machine.remove(user_file);
  machine.file("/flash/users", "old||one\n", 0600);
  machine.link(user_file, "/flash/users");
  EXPECT_EQ(written("bob", "secret"), "bob||secret");
  EXPECT_EQ(machine.read("/flash/users"), "bob||secret\n");
}

TEST_F(user_file_test, gets_no_line_more_from_any_value) {
  EXPECT_EQ(written("bob\nroot||x", "a\r\nb\x01\x7f"), "bob root||x||a  b  ");
  EXPECT_EQ(written("a|b:c", "d|e:f"), "a|b:c||d|e:f");
  EXPECT_EQ(written("\xc3\xa4#[]=(\"'\\", "tab\there"), "\xc3\xa4#[]=(\"'\\||tab\there");
}

TEST_F(user_file_test, gives_back_what_was_written) {
  for (char c = '!'; c <= '~'; ++c) {
    if (c == '|') continue;
    const std::string text = {'a', c, ' ', c};
    EXPECT_THAT((written(text, text), read_back()),
                ElementsAre("0|0|" + text + '|' + text + "|NAS"));
  }
}

TEST_F(user_file_test, that_cannot_be_written_is_logged_only) {
  machine.remove(user_file);
  machine.directory(user_file);
  user_list list;
  EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
  machine.remove(user_file);
  machine.link(user_file, "/dev/full");
  list.add("bob", "secret");
  EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
  EXPECT_EQ(machine.log(),
            "write_users:N return -2006 with Is a directory\n"
            "write_users:N return -2006 with No space left on device\n");
}

TEST_F(user_file_test, stays_as_it_was_on_a_full_disk) {
  const std::string before = fill_disk();
  user_list list;
  for (int i = 0; i < 300; ++i) list.add("other", "secret");
  EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
  EXPECT_EQ(users(), before);
  EXPECT_EQ(machine.log(), "write_users:N return -2006 with No space left on device\n");
}

TEST_F(user_file_test, is_written_where_room_cannot_be_asked_for) {
  for (const int error : {EOPNOTSUPP, ENODEV, ENOSYS}) {
    machine.fail("fallocate", error, 1);
    EXPECT_EQ(written("ann", "secret"), "ann||secret") << error;
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(user_file_test, stays_as_it_was_when_it_cannot_be_examined_or_read) {
  users("bob||secret\n");
  for (const char* function : {"fallocate", "fstat", "fread"}) {
    machine.fail(function, EIO, 1);
    ask_for_ann();
    EXPECT_EQ(users(), "bob||secret\n") << function;
    expect_failed_write();
    machine.forget();
  }
}

TEST_F(user_file_test, stays_as_it_was_when_nothing_can_be_written) {
  users("bob||password\ncid||password\n");
  machine.fail("write", EIO);
  ask_for_ann();
  EXPECT_EQ(users(), "bob||password\ncid||password\n");
  expect_failed_write();
}

/// The disk takes the text that stands beside the file, and then nothing more.
TEST_F(user_file_test, has_one_of_both_texts_when_its_disk_fails_halfway) {
  users("bob||password\n");
  sandbox::before("ftruncate", [this] { machine.fail("write", EIO); });
  ask_for_ann();
  expect_failed_write();
  EXPECT_EQ(users(), "");
  sandbox::libc::reset();
  EXPECT_THAT(read_back(), ElementsAre("0|0|ann|secret|NAS"));
  EXPECT_EQ(written("cid", "secret"), "cid||secret");
}

/// What is left of the file is not taken for all there was, while the whole text stands beside it.
TEST_F(user_file_test, is_not_lost_when_its_disk_fails_twice) {
  users("bob||password\n");
  sandbox::before("ftruncate", [this] { machine.fail("write", EIO); });
  ask_for_ann();
  EXPECT_EQ(users(), "");
  ask_for_ann();
  sandbox::libc::reset();
  EXPECT_THAT(read_back(), ElementsAre("0|0|ann|secret|NAS"));
  machine.fail("fallocate", EOPNOTSUPP, 1);
  sandbox::before("ftruncate", [this] { machine.fail("write", EIO, 3); });
  ask_for_ann();
  sandbox::libc::reset();
  EXPECT_THAT(read_back(), ElementsAre("0|0|ann|secret|NAS"));
}

TEST_F(user_file_test, that_was_cut_short_is_not_read_when_the_whole_text_cannot_be) {
  users("bob||password\n");
  sandbox::before("ftruncate", [this] { machine.fail("write", EIO); });
  ask_for_ann();
  sandbox::libc::reset();
  machine.forget();
  machine.fail("fopen", EMFILE, 2);
  user_list list;
  EXPECT_EQ(sys_user_get(list.get()), ORV_E_USER_FILE);
  EXPECT_EQ(machine.log(), "get_users_from_conf:N return -2006 with Too many open files\n");
  EXPECT_THAT(read_back(), ElementsAre("0|0|ann|secret|NAS"));
}

TEST_F(user_file_test, is_rewritten_where_nothing_can_stand_beside_it) {
  machine.file("/var/lib/orv/rewrites", "");
  users("bob||password\n");
  machine.fail("ftruncate", EIO, 1);
  ask_for_ann();
  expect_failed_write();
  EXPECT_EQ(users(), "bob||password\n");
  ask_for_ann();
  EXPECT_EQ(users(), "ann||secret\n");
}

TEST_F(user_file_test, stays_as_it_was_when_one_write_fails) {
  users("bob||password\n");
  sandbox::before("ftruncate", [this] { machine.fail("write", EIO, 1); });
  ask_for_ann();
  EXPECT_EQ(users(), "bob||password\n");
  EXPECT_THAT(read_back(), ElementsAre("0|0|bob|password|NAS"));
}

TEST_F(user_file_test, can_shrink_on_a_full_disk) {
  fill_disk();
  EXPECT_EQ(written("bob", "secret"), "bob||secret");
}

TEST_F(user_file_test, is_read_and_written_in_time_that_grows_with_its_size_only) {
  std::string text;
  for (int i = 0; i < 10000; ++i) text += "user" + std::to_string(i) + "||password\n";
  users(text);
  user_list list;
  EXPECT_EQ(get_users_from_conf(list.get()), ORV_OK);
  EXPECT_EQ(list.records().size(), 10000U);
  machine.remove(user_file);
  EXPECT_EQ(set_users_to_conf(list.get()), ORV_OK);
  EXPECT_EQ(users(), text);
}

}  // namespace
