#include "tests/service/service_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct control {
  int (*function)();
  const char* script;
  const char* argument;

  std::string command() const { return std::string(script) + ' ' + argument + " > /dev/null"; }

  /// In the name of a test.
  friend std::ostream& operator<<(std::ostream& to, const control& each) {
    return to << each.command();
  }
};

class service_control : public service_machine, public testing::WithParamInterface<control> {
 protected:
  sandbox::answer& script() { return machine.tool(GetParam().script).on(GetParam().argument); }
};

TEST_P(service_control, runs_the_init_script) {
  script().prints("Starting service: ok\n");
  EXPECT_EQ(GetParam().function(), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre(GetParam().command()));
  EXPECT_EQ(machine.output(), "");
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_P(service_control, tells_that_the_script_failed) {
  script().fails(6);
  EXPECT_EQ(GetParam().function(), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed(GetParam().command(), "normal with exit(6)")));
}

TEST_P(service_control, tells_that_there_is_no_script) {
  machine.tool(GetParam().script).is_missing();
  EXPECT_EQ(GetParam().function(), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed(GetParam().command(), "normal with exit(127)")));
}

TEST_P(service_control, tells_that_the_shell_was_killed) {
  machine.remove("/bin/sh");
  machine.file("/bin/sh", "#!/.sandbox/bin/bash\nkill -9 $$\n", 0755);
  EXPECT_EQ(GetParam().function(), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed(GetParam().command(), "unnormal with exit(0)")));
}

INSTANTIATE_TEST_SUITE_P(all, service_control,
                         testing::Values(control{smb_start, "/etc/init.d/samba", "start"},
                                         control{smb_stop, "/etc/init.d/samba", "stop"},
                                         control{nfs_start, "/etc/init.d/nfs", "start"},
                                         control{nfs_stop, "/etc/init.d/nfs", "stop"},
                                         control{ftp_start, "/etc/init.d/vsftpd", "start"},
                                         control{ftp_stop, "/etc/init.d/vsftpd", "stop"},
                                         control{iscsi_start, "/etc/init.d/iscsi-target", "start"},
                                         control{iscsi_stop, "/etc/init.d/iscsi-target", "stop"}));

}  // namespace
