#include <orv/support.h>
#include <sys/stat.h>

#include <chrono>

#include "tests/orvctl/whole_appliance.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

template <class machine_kind>
class under_a_limit : public machine_kind {
 protected:
  under_a_limit() {
    // A "/proc" that tells of this process tells that a tool's group is gone.
    this->machine.file("/proc/" + std::to_string(getpid()) + "/stat", "1 (test) S 1 1");
  }
  ~under_a_limit() override {
    EXPECT_EQ(orv_tool_timeout(), 0U);
    EXPECT_EQ(this->machine.temp_files(), temporary);
  }

  const sandbox::lines temporary = this->machine.temp_files();

  /// The tool never answers.
  void hangs(const char* path) {
    this->machine.tool(path).on("...").takes(std::chrono::minutes(2));
  }

  /// The tool that tells this never answers; see `tell`.
  void hangs_to_tell(const std::string& file) {
    this->machine.remove("/told/" + file);
    ASSERT_EQ(mkfifo(("/told/" + file).c_str(), 0600), 0);
  }

  static constexpr char reason[] = "a tool took longer than --timeout allows and was ended: ";
};

using timeout = under_a_limit<appliance>;
using timeout_of_all = under_a_limit<whole_appliance>;

TEST_F(timeout, ends_a_tool_and_the_command_with_its_own_status) {
  hangs("/sbin/lvcreate");
  const outcome got = orvctl("pool create vg1 more 1 --timeout 1");
  EXPECT_EQ(got.status, 6);
  EXPECT_EQ(got.out, "");
  EXPECT_THAT(got.err, StartsWith("orvctl: pool create: ORV_E_COMMAND (-11000): "));
  EXPECT_THAT(got.err, HasSubstr(std::string(": ") + reason + "/sbin/lvcreate"));
  EXPECT_THAT(got.err, HasSubstr("\n  What to do: see 'orvctl status' for what is there now"));
  EXPECT_THAT(machine.log(), HasSubstr("return unnormal with exit(0) for 'Connection timed out'"));
}

TEST_F(timeout, is_an_error_of_its_own_where_the_library_goes_on) {
  machine.tool("/bin/busybox").on("pidof ...").takes(std::chrono::minutes(2));
  const outcome got = run({"--timeout", "1", "service", "list", "--json"}, "", false);
  EXPECT_EQ(got.status, 6);
  const json error = json::parse(got.out)["error"];
  EXPECT_EQ(error["name"], "timeout");
  EXPECT_EQ(error["code"], nullptr);
  EXPECT_EQ(error["exit_status"], 6);
  EXPECT_THAT(error["detail"].get<std::string>(), StartsWith("/bin/busybox pidof "));
}

TEST_F(timeout, shows_no_password) {
  hangs("/usr/bin/smbpasswd");
  machine.file("/etc/passwd", "");
  machine.file("/etc/group", "");
  machine.file("/etc/shadow", "ann:x:1:0:99999:7:::\n");
  machine.file("/etc/nas_userfile.conf", "");
  machine.tool("adduser").on("...");
  const outcome got = run(split("user add ann --timeout 1"), "secret-word\n", false);
  EXPECT_EQ(got.status, 6) << got.err;
  EXPECT_THAT(got.err, AllOf(HasSubstr(std::string(reason) + "smbpasswd"),
                             testing::Not(HasSubstr("secret-word"))));
}

TEST_F(timeout, leaves_tools_alone_that_are_in_time) {
  const outcome free = orvctl("pool list");
  const outcome limited = orvctl("pool list --timeout 60");
  EXPECT_EQ(limited.status, 0);
  EXPECT_EQ(limited.out, free.out);
}

TEST_F(timeout, holds_in_a_dry_run) {
  hangs_to_tell("pools");
  const outcome got = orvctl("pool create vg1 more 1 --dry-run --timeout 1");
  EXPECT_EQ(got.status, 6) << got.err;
  EXPECT_THAT(got.err, HasSubstr(std::string(reason) + "/sbin/lvdisplay -c"));
}

TEST_F(timeout, wants_a_number_of_seconds) {
  for (const std::string time : {"0", "-1", "1.5", "x", "86401", "99999999999"}) {
    const outcome got = run({"disk", "list", "--timeout", time}, "", true);
    EXPECT_EQ(got.status, 2) << time;
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(timeout_of_all, do_not_keep_the_status_from_being_shown) {
  hangs_to_tell("groups");
  const outcome got = orvctl("status --timeout 1");
  EXPECT_EQ(got.status, 0);
  EXPECT_THAT(got.out, HasSubstr("What is wrong:"));
  EXPECT_THAT(got.err, HasSubstr(std::string(reason) + "/sbin/vgdisplay -c"));
}

TEST_F(timeout_of_all, holds_for_the_tools_of_a_report) {
  machine.tool("/sbin/mdadm").on("--version").runs("echo 'mdadm - v4'; sleep 100 & sleep 100");
  const auto begin = std::chrono::steady_clock::now();
  const outcome got = orvctl("report --timeout 1");
  EXPECT_EQ(got.status, 0);
  EXPECT_THAT(got.out, HasSubstr("mdadm: mdadm - v4"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}
