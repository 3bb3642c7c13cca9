#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "tests/sandbox/bend.h"
#include "tests/service/service_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char config_path[] = "/etc/vsftpd.conf";
constexpr char kept_path[] = "/var/lib/orv/kept/etc/vsftpd.conf";
constexpr char move_command[] = "mv /tmp/vsftpd.XXXXXX /etc/vsftpd.conf > /dev/null";
constexpr char limits_1_2_3[] = "local_max_rate=1\nmax_clients=2\nmax_per_ip=3\n";

class ftp_limits : public service_machine {
 protected:
  using limits = std::array<unsigned int, 3>;
  static constexpr limits untouched = {71, 72, 73};

  void config(std::string_view text, mode_t mode = 0644) { machine.file(config_path, text, mode); }
  std::string config() { return machine.read(config_path); }

  limits read(int expected = ORV_OK) {
    limits found = untouched;
    EXPECT_EQ(ftp_share_para_get(&found[0], &found[1], &found[2]), expected);
    return found;
  }
  limits limits_in(std::string_view text) {
    config(text);
    return read();
  }
};

TEST_F(ftp_limits, are_read) {
  EXPECT_EQ(limits_in("listen=YES\nmax_clients=2\nlocal_max_rate=1\nmax_per_ip=3\n"),
            (limits{1, 2, 3}));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(ftp_limits, that_are_absent_leave_their_outputs_alone) {
  EXPECT_EQ(limits_in(""), untouched);
  EXPECT_EQ(limits_in("max_clients=2\n"), (limits{71, 2, 73}));
}

TEST_F(ftp_limits, count_as_the_file_says_them_last) {
  EXPECT_EQ(limits_in("max_clients=2\nmax_clients=5\nmax_per_ip=1\nmax_clients=4"),
            (limits{71, 4, 1}));
}

TEST_F(ftp_limits, are_read_from_trimmed_lines_that_are_no_comments) {
  EXPECT_EQ(limits_in(" \tmax_clients=2 \t\r\n#max_clients=9\n # max_clients=9\n\n \n"),
            (limits{71, 2, 73}));
}

TEST_F(ftp_limits, have_exactly_these_keys) {
  EXPECT_EQ(limits_in("max_clients =1\nMax_Clients=1\nxmax_clients=1\nmax_clientsx=1\n=1\n"
                      "max_clients\nanon_max_rate=1\nx=max_clients=1\n"),
            untouched);
}

TEST_F(ftp_limits, are_read_as_numbers_of_32_bits) {
  const std::pair<const char*, unsigned int> numbers[] = {
      {"", 0},
      {"x", 0},
      {" 7", 7},
      {"+7", 7},
      {"7x", 7},
      {"7=8", 7},
      {"0x10", 0},
      {"010", 10},
      {"4294967295", 4294967295U},
      {"-1", 4294967295U},
      {"-2", 4294967294U},
      {"4294967296", 4294967295U},
      {"99999999999999999999999", 4294967295U},
      {"-99999999999999999999999", 4294967295U}};
  for (const auto& [text, number] : numbers) {
    EXPECT_EQ(limits_in(std::string("max_clients=") + text + '\n')[1], number) << text;
  }
}

TEST_F(ftp_limits, are_not_known_without_a_file) {
  EXPECT_EQ(read(-1063), untouched);
  EXPECT_EQ(machine.log(), "ftp_share_para_get:N return -1063 with No such file or directory\n");
}

TEST_F(ftp_limits, are_not_known_when_the_file_cannot_be_read) {
  machine.directory(config_path);
  EXPECT_EQ(read(-1063), untouched);
  EXPECT_EQ(machine.log(), "ftp_share_para_get:N return -1063 with Is a directory\n");
}

TEST_F(ftp_limits, need_somewhere_to_go) {
  config(limits_1_2_3);
  unsigned int number = 7;
  EXPECT_EQ(ftp_share_para_get(nullptr, &number, &number), ORV_E_FAILED);
  EXPECT_EQ(ftp_share_para_get(&number, nullptr, &number), ORV_E_FAILED);
  EXPECT_EQ(ftp_share_para_get(&number, &number, nullptr), ORV_E_FAILED);
  EXPECT_EQ(number, 7U);
  EXPECT_EQ(machine.log_lines().at(0), "ftp_share_para_get:N return -1 with Invalid argument");
}

class ftp_limits_set : public ftp_limits {
 protected:
  ftp_limits_set() { machine.tool("mv").is_real(); }

  bool is_committed() { return machine.exists(kept_path) && machine.read(kept_path) == config(); }
  /// What a configuration becomes.
  std::string rewritten(std::string_view text, const limits& values = {10, 20, 30}) {
    config(text);
    EXPECT_EQ(ftp_share_para_set(values[0], values[1], values[2]), ORV_OK);
    EXPECT_TRUE(is_committed());
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_EQ(machine.log(), "");
    return config();
  }
  void expect_unchanged(const std::string& before) {
    EXPECT_EQ(config(), before);
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_FALSE(machine.exists(kept_path));
  }
};

TEST_F(ftp_limits_set, are_replaced_in_place) {
  EXPECT_EQ(
      rewritten("listen=YES\nmax_clients=2\nlocal_max_rate=1\nlocal_enable=YES\nmax_per_ip=3\n"),
      "listen=YES\nmax_clients=20\nlocal_max_rate=10\nlocal_enable=YES\nmax_per_ip=30\n");
  EXPECT_THAT(machine.commands(), ElementsAre(move_command));
}

TEST_F(ftp_limits_set, are_not_added) {
  EXPECT_EQ(rewritten("local_max_rate=1\nmax_clients=2\n"), "local_max_rate=10\nmax_clients=20\n");
  EXPECT_EQ(read(), (limits{10, 20, untouched[2]}));
  EXPECT_EQ(rewritten("listen=YES\n"), "listen=YES\n");
}

TEST_F(ftp_limits_set, are_replaced_wherever_they_stand) {
  EXPECT_EQ(rewritten("max_clients=2\nlisten=YES\nmax_clients=3\nmax_clients=\nmax_clients=a=b\n"),
            "max_clients=20\nlisten=YES\nmax_clients=20\nmax_clients=20\nmax_clients=20\n");
}

TEST_F(ftp_limits_set, drop_comments_and_empty_lines) {
  EXPECT_EQ(rewritten("# FTP\n\n \t \nlisten=YES\n  # max_clients=9\n\r\n#\nmax_clients=2\n"),
            "listen=YES\nmax_clients=20\n");
}

TEST_F(ftp_limits_set, trim_every_line) {
  EXPECT_EQ(rewritten("  listen=YES\n\t max_clients=2\n anon_root = /mnt/a b \t\r\nbanner=a=b"),
            "listen=YES\nmax_clients=20\nanon_root = /mnt/a b\nbanner=a=b\n");
}

TEST_F(ftp_limits_set, keep_lines_that_only_look_like_limits) {
  const std::string others = "max_clients\nmax_clients =2\nMAX_CLIENTS=2\n=\nmax_login_fails=2\n";
  EXPECT_EQ(rewritten(others), others);
}

TEST_F(ftp_limits_set, keep_long_and_binary_lines_whole) {
  const std::string lines =
      "cmds_allowed=" + std::string(100000, 'A') + '\n' + std::string("\x01=\0\xff\n", 5);
  EXPECT_EQ(rewritten(lines + "max_clients=2"), lines + "max_clients=20\n");
}

TEST_F(ftp_limits_set, are_written_as_signed_numbers_and_read_back) {
  const limits large = {2147483647U, 2147483648U, 4294967295U};
  EXPECT_EQ(rewritten(limits_1_2_3, large),
            "local_max_rate=2147483647\nmax_clients=-2147483648\nmax_per_ip=-1\n");
  EXPECT_EQ(read(), large);
}

TEST_F(ftp_limits_set, leave_an_empty_file_empty) {
  EXPECT_EQ(rewritten(""), "");
  EXPECT_EQ(rewritten("# all comments\n"), "");
}

TEST_F(ftp_limits_set, keep_mode_and_owner) {
  config(limits_1_2_3, 0640);
  if (::chown(config_path, 8, 12) != 0) GTEST_SKIP() << "needs a second user";
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), ORV_OK);
  struct stat found {};
  ASSERT_EQ(::lstat(config_path, &found), 0);
  EXPECT_EQ(found.st_mode & 07777U, 0640U);
  EXPECT_EQ(found.st_uid, 8U);
  EXPECT_EQ(found.st_gid, 12U);
}

TEST_F(ftp_limits_set, need_a_file_and_leave_the_temporary_one) {
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), -1063);
  EXPECT_EQ(machine.log(), "ftp_share_para_set:N return -1063 with No such file or directory\n");
  EXPECT_THAT(machine.temp_files(), ElementsAre("vsftpd.XXXXXX"));
  EXPECT_FALSE(machine.exists(config_path));
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(ftp_limits_set, never_rewrite_a_file_that_cannot_be_read) {
  machine.directory(config_path);
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), -1063);
  EXPECT_EQ(machine.log(), "ftp_share_para_set:N return -1063 with Is a directory\n");
  EXPECT_THAT(machine.temp_files(), ElementsAre("vsftpd.XXXXXX"));
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(ftp_limits_set, never_commit_a_file_that_cannot_be_read) {
  config(limits_1_2_3);
  machine.fail("fread", EIO, 1);
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), -1063);
  EXPECT_EQ(machine.log(), "ftp_share_para_set:N return -1063 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), ElementsAre("vsftpd.XXXXXX"));
  expect_unchanged(limits_1_2_3);
}

TEST_F(ftp_limits_set, need_a_temporary_file) {
  config(limits_1_2_3);
  machine.fail("mkstemp", EMFILE);
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), -1067);
  EXPECT_EQ(machine.log(), "ftp_share_para_set:N return -1067 with Too many open files\n");
  expect_unchanged(limits_1_2_3);
}

TEST_F(ftp_limits_set, need_room_for_the_temporary_file) {
  machine.mount_tmpfs("/tmp", "size=4k");
  const std::string before = limits_1_2_3 + std::string(5000, 'x') + "=1\n";
  config(before);
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), -1067);
  EXPECT_EQ(machine.log(), "ftp_share_para_set:N return -1067 with No space left on device\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  expect_unchanged(before);
}

TEST_F(ftp_limits_set, move_nothing_that_is_not_on_the_disk) {
  config(limits_1_2_3);
  machine.fail("fsync", EIO);
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), -1067);
  EXPECT_EQ(machine.log(), "ftp_share_para_set:N return -1067 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  expect_unchanged(limits_1_2_3);
}

TEST_F(ftp_limits_set, wait_ten_seconds_for_another_change) {
  rewritten(limits_1_2_3);
  config(limits_1_2_3);
  machine.remove("/var/lib/orv/kept");
  machine.forget();
  const int other = ::open("/var/lib/orv/lock/vsftpd.conf", O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  sandbox::hasten(std::chrono::seconds(4));
  EXPECT_EQ(ftp_share_para_set(1, 1, 1), -1063);
  EXPECT_EQ(machine.log(),
            "ftp_share_para_set:N return -1063 with Resource temporarily unavailable\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  expect_unchanged(limits_1_2_3);
  ::close(other);
}

class ftp_limits_move : public ftp_limits {};

TEST_F(ftp_limits_move, that_fails_keeps_both_files_and_commits_the_old_one) {
  machine.tool("mv").on("/tmp/vsftpd.XXXXXX /etc/vsftpd.conf").fails(1);
  config(limits_1_2_3);
  EXPECT_EQ(ftp_share_para_set(10, 20, 30), -11000);
  EXPECT_EQ(config(), limits_1_2_3);
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed(move_command, "normal with exit(1)")));
  ASSERT_THAT(machine.temp_files(), ElementsAre("vsftpd.XXXXXX"));
  EXPECT_EQ(machine.read(std::filesystem::directory_iterator("/tmp")->path()),
            "local_max_rate=10\nmax_clients=20\nmax_per_ip=30\n");
  EXPECT_EQ(machine.read(kept_path), limits_1_2_3);
}

}  // namespace
