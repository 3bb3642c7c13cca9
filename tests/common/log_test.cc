#include <orv.h>

#include <cerrno>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;

namespace {

class log_form : public sandbox_test {};

TEST_F(log_form, of_a_failed_command_tells_its_exit_code) {
  machine.tool("umount").fails(32);
  errno = ENOENT;
  EXPECT_EQ(umount_fs("/mnt/data"), ORV_E_COMMAND);
  EXPECT_EQ(machine.log(),
            "system(\"umount /mnt/data > /dev/null\") return normal with exit(32) for 'No such "
            "file or directory'\n");
}

TEST_F(log_form, of_a_command_whose_shell_a_signal_ended_says_unnormal) {
  machine.remove("/bin/sh");
  machine.file("/bin/sh", "#!/.sandbox/bin/bash\nkill -9 $$\n", 0755);
  errno = 0;
  EXPECT_EQ(umount_fs("/mnt/data"), ORV_E_COMMAND);
  EXPECT_EQ(machine.log(),
            "system(\"umount /mnt/data > /dev/null\") return unnormal with exit(0) for "
            "'Success'\n");
}

TEST_F(log_form, of_a_command_that_is_not_there_tells_127) {
  machine.tool("umount").is_missing();
  errno = 0;
  EXPECT_EQ(umount_fs("/mnt/data"), ORV_E_COMMAND);
  EXPECT_EQ(machine.log(),
            "system(\"umount /mnt/data > /dev/null\") return normal with exit(127) for "
            "'Success'\n");
}

TEST_F(log_form, of_a_missing_shell_tells_127_and_the_reason) {
  machine.remove("/bin/sh");
  EXPECT_EQ(umount_fs("/mnt/data"), ORV_E_COMMAND);
  EXPECT_EQ(machine.log(),
            "system(\"umount /mnt/data > /dev/null\") return normal with exit(127) for 'No such "
            "file or directory'\n");
}

TEST_F(log_form, of_the_mount_point_commands_lacks_the_blank_before_return) {
  machine.tool("mkdir").succeeds();
  machine.tool("chattr").fails(1);
  errno = 0;
  EXPECT_EQ(mkdir_path("/mnt/data"), ORV_E_COMMAND);
  EXPECT_EQ(machine.log(),
            "system(\"chattr  +i /mnt/data > /dev/null\")return normal with exit(1) for "
            "'Success'\n");
}

TEST_F(log_form, of_the_disk_driver_lacks_the_blank_before_for) {
  machine.file("/proc/scsi/mvSata/0", "");
  machine.tool("cat").fails(1);
  tag_diskinfo_list list;
  disk_list_init(&list);
  errno = 0;
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_E_COMMAND);
  EXPECT_EQ(machine.log(),
            "system(\"cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX\") return normal with "
            "exit(1)for 'Success'\n");
}

TEST_F(log_form, of_a_failed_file_operation_tells_function_line_code_and_reason) {
  tag_diskinfo_list list;
  disk_list_init(&list);
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_E_DISK_DRIVER);
  EXPECT_EQ(machine.log(),
            "get_diskinfo_from_mvSata:N return -1021 with No such file or directory\n");
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_THAT(machine.log_records()[0].text,
              testing::MatchesRegex("get_diskinfo_from_mvSata:[0-9]+ return -1021 with .*"));
}

TEST_F(log_form, of_the_mount_table_readers_has_brackets_and_no_line_end) {
  machine.fail("mkstemp", EMFILE);
  tag_fsinfo_list list;
  fs_list_init(&list);
  EXPECT_EQ(mountfs_get(&list), ORV_E_LVDISPLAY);
  ASSERT_FALSE(machine.log_records().empty());
  EXPECT_THAT(machine.log_records().back().text,
              testing::MatchesRegex("mountfs_get\\[[0-9]+\\]: return with -1050"));
}

TEST_F(log_form, is_written_under_the_name_of_the_library_as_an_error_of_a_daemon) {
  EXPECT_EQ(raid_get(nullptr), ORV_E_FAILED);
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].ident, "orv");
  EXPECT_EQ(machine.log_records()[0].priority, 3 << 3 | 3);
  EXPECT_EQ(machine.log(), "raid_get:N return -1 with Invalid argument\n");
}

}  // namespace
