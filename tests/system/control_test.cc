#include <orv/system.h>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class control : public sandbox_test {};

TEST_F(control, halt_and_reboot_are_run) {
  machine.tool("halt").on("");
  machine.tool("reboot").on("");
  EXPECT_EQ(sys_shutdown(), ORV_OK);
  EXPECT_EQ(sys_reboot(), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("halt", "reboot"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(control, halt_and_reboot_that_fail_are_logged) {
  machine.tool("halt").fails(1);
  machine.tool("reboot").is_missing();
  EXPECT_EQ(sys_shutdown(), -1);
  EXPECT_EQ(sys_reboot(), -1);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(StartsWith("system(\"halt\") return normal with exit(1) for '"),
                          StartsWith("system(\"reboot\") return normal with exit(127) for '")));
}

TEST_F(control, process_list_is_written_to_the_file) {
  machine.tool("ps").on("aux").prints("USER PID\nroot 1\n");
  EXPECT_EQ(procinfo_get("/tmp/processes"), ORV_OK);
  EXPECT_EQ(machine.read("/tmp/processes"), "USER PID\nroot 1\n");
  EXPECT_THAT(machine.commands(), ElementsAre("ps aux > /tmp/processes"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(control, path_of_the_process_list_may_be_long) {
  const std::string name(200, 'n');
  const std::string path = "/tmp/" + name + "/" + name + "/list";
  machine.directory("/tmp/" + name + "/" + name);
  machine.tool("ps").prints("USER PID\n");
  EXPECT_EQ(procinfo_get(path.c_str()), ORV_OK);
  EXPECT_EQ(machine.read(path), "USER PID\n");
}

TEST_F(control, path_of_the_process_list_is_one_word) {
  machine.tool("ps").prints("USER PID\n");
  EXPECT_EQ(procinfo_get("/tmp/a b;$(c)'\n"), ORV_OK);
  EXPECT_THAT(machine.temp_files(), ElementsAre("a b;$(c)'\n"));
}

TEST_F(control, process_list_that_fails_is_logged) {
  machine.tool("ps").prints("USER").fails(3);
  EXPECT_EQ(procinfo_get("/tmp/processes"), -1);
  EXPECT_THAT(machine.log(),
              StartsWith("system(\"ps aux > /tmp/processes\") return normal with exit(3) for '"));
  EXPECT_EQ(machine.read("/tmp/processes"), "USER");
}

TEST_F(control, process_list_without_a_usable_path_is_not_asked_for) {
  for (const char* path : {static_cast<const char*>(nullptr), "", "-x"}) {
    EXPECT_EQ(procinfo_get(path), -1);
  }
  EXPECT_THAT(machine.log_lines(), testing::Each(HasSubstr("return normal with exit(127)")));
  EXPECT_EQ(machine.log_lines().size(), 3U);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(control, process_list_in_a_directory_that_is_missing_fails) {
  machine.tool("ps").on("aux").if_asked();
  EXPECT_EQ(procinfo_get("/tmp/missing/processes"), -1);
  EXPECT_EQ(machine.log_lines().size(), 1U);
}
