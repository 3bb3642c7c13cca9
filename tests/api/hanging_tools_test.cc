#include <orv.h>
#include <orv/scoped.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/sandbox/sandbox.h"

using testing::AllOf;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;

namespace {

/// A function, the tool that it runs, and what it returns when that is killed.
struct row {
  const char* name;
  const char* tool;
  int code;
  std::function<int()> call;
};

template <class list, auto getter>
int read() {
  list found;
  return found.read(getter).code();
}

tag_md_info array_request() {
  tag_md_info array;
  md_conf_init(&array);
  liborv_strncpy(array.name, sizeof array.name, "md0");
  liborv_strncpy(array.level, sizeof array.level, "raid1");
  liborv_strncpy(array.disks, sizeof array.disks, "sda,sdb");
  return array;
}

int make_array(int (*make)(tag_md_info*)) {
  tag_md_info array = array_request();
  return make(&array);
}

const row rows[] = {
    {"get_poolinfo_from_lvdisplay", "/sbin/lvdisplay", ORV_E_LVDISPLAY_TOOL,
     read<orv::pool_list, get_poolinfo_from_lvdisplay>},
    {"get_vginfo_from_vgdisplay", "/sbin/vgdisplay", ORV_E_COMMAND,
     read<orv::volume_group_list, get_vginfo_from_vgdisplay>},
    {"get_mdinfo_from_mdstat", "cat", ORV_E_COMMAND, read<orv::array_list, get_mdinfo_from_mdstat>},
    {"get_conninfo_from_smbstatus", "smbstatus", ORV_E_COMMAND,
     read<orv::connection_list, get_conninfo_from_smbstatus>},
    {"share_conn_get", "netstat", ORV_E_COMMAND, read<orv::connection_list, share_conn_get>},
    {"nfs_status_get", "/bin/busybox", ORV_E_COMMAND, nfs_status_get},
    {"procinfo_get", "ps", ORV_E_FAILED, [] { return procinfo_get("/tmp/processes"); }},
    {"create_pool", "/sbin/lvcreate", ORV_E_COMMAND, [] { return create_pool("data", "vg1", 1); }},
    {"extend_pool", "/sbin/lvextend", ORV_E_COMMAND, [] { return extend_pool("data", "vg1", 2); }},
    {"destroy_pool", "/sbin/lvremove", ORV_E_COMMAND, [] { return destroy_pool("data", "vg1"); }},
    {"create_pv", "/sbin/pvcreate", ORV_E_COMMAND, [] { return create_pv("sda"); }},
    {"del_pv", "/sbin/pvremove", ORV_E_COMMAND, [] { return del_pv("sda"); }},
    {"umount_fs", "umount", ORV_E_COMMAND, [] { return umount_fs("/mnt/data"); }},
    {"mkdir_path", "mkdir", ORV_E_COMMAND, [] { return mkdir_path("/mnt/new"); }},
    {"mkfs_pool", "/sbin/mkfs.xfs", ORV_E_COMMAND, [] { return mkfs_pool("data", "vg1"); }},
    {"mount_fs", "mount", ORV_E_COMMAND, [] { return mount_fs("/mnt/data", "vg1", "data"); }},
    {"vgcfgrestore", "/sbin/vgcfgrestore", -1, [] { return vgcfgrestore("vg1"); }},
    {"get_mdinfo_from_arcadm", "/usr/local/bin/arcadm", ORV_E_COMMAND,
     read<orv::array_list, get_mdinfo_from_arcadm>},
    {"set_raid", "/sbin/mdadm", ORV_E_COMMAND, [] { return make_array(set_raid); }},
    {"reset_raid", "/sbin/mdadm", ORV_E_COMMAND, [] { return make_array(reset_raid); }},
    {"set_disk_faulty", "/sbin/mdadm", ORV_E_FAILED, [] { return set_disk_faulty("md0", "sda"); }},
    {"clear_disk", "/usr/local/bin/diskformat", ORV_E_FAILED, [] { return clear_disk("sdc"); }},
    {"disk_set_hotspare", "/usr/local/bin/hotspare", ORV_E_FAILED,
     [] { return disk_set_hotspare("sdc", 1); }},
    {"smb_start", "/etc/init.d/samba", ORV_E_COMMAND, smb_start},
    {"sys_reboot", "reboot", ORV_E_FAILED, sys_reboot},
};

}  // namespace

/// With a shell of no name, and with one that is left out where a command line is plain.
class hanging_tools : public sandbox_test, public testing::WithParamInterface<const char*> {
 protected:
  hanging_tools() {
    if (is_without_shell()) machine.shell_is(GetParam());
    machine.file("/proc/" + std::to_string(getpid()) + "/stat", "1 (test) S 1 1");
    // Disks are wiped before an array is made of them.
    machine.tool("/usr/local/bin/diskformat").on("/dev/sda").if_asked();
    machine.tool("/usr/local/bin/diskformat").on("/dev/sdb").if_asked();
  }
  ~hanging_tools() override {
    // What the library quotes or pipes is the shell's in any case.
    const auto calls = machine.call_records();
    EXPECT_EQ(
        std::any_of(calls.begin(), calls.end(), [](const auto& made) { return !made.by_shell; }),
        is_without_shell());
  }

  static bool is_without_shell() { return GetParam() != std::string("other"); }
};

INSTANTIATE_TEST_SUITE_P(of, hanging_tools, testing::Values("other", "dash"),
                         [](const auto& shell) { return std::string(shell.param); });

TEST_P(hanging_tools, make_every_function_fail_as_a_killed_tool_does) {
  for (const row& each : rows) machine.tool(each.tool).on("...").dies_of(SIGKILL);
  for (const row& each : rows) EXPECT_EQ(each.call(), each.code) << each.name;
}

TEST_P(hanging_tools, make_every_function_fail_in_time) {
  for (const row& each : rows) machine.tool(each.tool).on("...").takes(std::chrono::minutes(2));
  std::vector<std::thread> threads;
  for (const row& each : rows) {
    threads.emplace_back([&each] {
      const orv::tool_timeout limit(1);
      const auto begin = std::chrono::steady_clock::now();
      EXPECT_EQ(each.call(), each.code) << each.name;
      const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
      EXPECT_THAT(took.count(), AllOf(Ge(1), Le(4))) << each.name;  // the grace, at most
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
  EXPECT_THAT(machine.log_lines(),
              testing::Each(testing::AnyOf(testing::HasSubstr("for 'Connection timed out'"),
                                           testing::HasSubstr("return"))));
}
