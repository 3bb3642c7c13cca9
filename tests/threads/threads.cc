// Calls the library from several threads at once, each with lists and files of its own, for
// ThreadSanitizer to watch. It runs in namespaces of its own, in which small scripts stand for the
// tools.
//
//   threads ROUNDS [MODEL]
#include <dlfcn.h>
#include <fcntl.h>
#include <orv.h>
#include <orv/scoped.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <vector>

// ThreadSanitizer takes every clone for a fork, and forgets its own locks in the child. Ours, which
// are made by it where the kernel has no clone3, share the memory, and a thread waits for them: to
// the C library's, then.
extern "C" __attribute__((visibility("default"))) int clone(int (*run)(void*), void* stack,
                                                            int flags, void* given, ...) noexcept {
  using function = int (*)(int (*)(void*), void*, int, void*);
  static const auto own =
      reinterpret_cast<function>(dlsym(dlopen("libc.so.6", RTLD_NOW | RTLD_NOLOAD), "clone"));
  return own(run, stack, flags, given);
}

namespace {

// --- The machine ---------------------------------------------------------------------------------

void must(bool done, const std::string& what) {
  if (done) return;
  std::perror(what.c_str());
  std::exit(2);
}

void put(const std::string& path, const std::string& text, mode_t mode = 0644) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << text;
  must(chmod(path.c_str(), mode) == 0, path);
}

void write_map(const char* path, const std::string& text) {
  std::ofstream file(path);
  file << text;
}

void leave_host() {
  const std::string user = std::to_string(getuid());
  const std::string group = std::to_string(getgid());
  constexpr int spaces = CLONE_NEWNS | CLONE_NEWUTS;
  if (unshare(spaces) != 0) {
    must(unshare(CLONE_NEWUSER | spaces) == 0, "unshare");
    write_map("/proc/self/setgroups", "deny");
    write_map("/proc/self/uid_map", "0 " + user + " 1");
    write_map("/proc/self/gid_map", "0 " + group + " 1");
  }
  must(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "mount /");
  for (const char* place : {"/etc", "/tmp", "/usr/sbin", "/usr/local", "/var/lib", "/mnt"}) {
    must(mount("machine", place, "tmpfs", 0, "mode=755") == 0, place);
  }
}

constexpr char model_with_a_controller[] = "KTA7120U";

void put_tool(const std::string& path, const std::string& output) {
  put(path, "#!/bin/sh\ncat << 'END'\n" + output + "END\n", 0755);
}

/// A machine of the model, with settings of every kind.
void furnish(const std::string& model) {
  put("/etc/sys_info", "[version]\nsoftware=2.4\nhardware=B\n[product]\ntype=" + model + "\n");
  put("/etc/hostname", "nas1\n");
  put("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\nann:x:500:500::/:/bin/sh\n");
  put("/etc/group", "root:x:0:\nann:x:500:\n");
  put("/etc/shadow", "ann:$1$abcdefgh$:1:0:99999:7:::\n", 0600);
  put("/etc/nas_userfile.conf", "ann||password\n");
  put("/etc/mdfstab", "/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0\n");
  put("/etc/vsftpd.conf", "local_max_rate=0\nmax_clients=0\nmax_per_ip=0\n");
  put("/etc/samba/smb.conf", "[global]\n\tworkgroup = NAS\n");
  for (const char* file : {"/etc/sharefolder.conf", "/etc/exports", "/etc/samba/smb_recy.conf",
                           "/etc/exports_recy", "/etc/ietd.conf"}) {
    put(file, "");
  }
  put_tool("/usr/local/bin/arcadm", "====\nmd0 /5 /64K /normal /1862 GB /sdb / #1 #2\n");
  put_tool("/usr/local/bin/hotspare", "");
  put_tool("/usr/sbin/vgdisplay", "  vg1:r/w:772:-1:0:1:1:-1:0:1:1:1953255424:4096:476869:1:2:u\n");
  put_tool("/usr/sbin/pvdisplay", "  /dev/sdb:vg1:3906519040:-1:8:8:-1:4096:476869:348869:1:u\n");
  put_tool("/usr/sbin/lvdisplay", "  /dev/vg1/data:vg1:3:1:-1:1:1048576000:128000:-1:0:-1:253:0\n");
  put_tool("/usr/sbin/mdadm", "/dev/md0:\n        Raid Level : raid5\n");
}

// --- What the threads do -------------------------------------------------------------------------

/// Any result will do but for one that says that another thread's work came in between.
using work = std::function<void(int round)>;

std::atomic<int> surprises = 0;

void expect(bool holds, const char* what) {
  if (holds) return;
  ++surprises;
  std::fprintf(stderr, "unexpected: %s\n", what);
}

template <class list, auto getter>
void read() {
  list found;
  found.read(getter);
}

template <auto getter>
void read_text() {
  char text[256];
  getter(text, sizeof text);
}

void ask_for_storage(int) {
  read<orv::disk_list, disks_info_get>();
  read<orv::array_list, raid_get>();
  orv::volume_group_list groups;
  expect(groups.read(get_vginfo_from_vgdisplay) == ORV_OK && groups.size() == 1, "groups");
  orv::pool_list pools;
  expect(pools.read(get_poolinfo_from_lvdisplay) == ORV_OK && pools.size() == 1, "pools");
  read<orv::array_list, get_mdinfo_from_mdstat>();
}

void ask_for_all_that_lies_below(int) {
  orv::disk_list disks;
  disks.read(disks_info_get);
  smart_info_get(disks.get());
  read<orv::volume_group_list, vg_get>();
  read<orv::pool_list, pool_get>();
  read<orv::file_system_list, fs_get>();
  read<orv::share_list, share_get>();
  read<orv::alarm_list, alarm_get>();
}

void ask_for_the_system(int) {
  read_text<softversion_get>();
  read_text<devmodel_get>();
  read_text<systime_get>();
  read_text<tmp_get>();
  read_text<fan_speed_get>();
  read_text<pwstate_get>();
  read<orv::network_interface_list, netcard_get>();
  read<orv::connection_list, share_conn_get>();
  nfs_status_get();
}

void check_passwords(int) {
  expect(sys_user_validpwd("ann", "wrong") != ORV_OK, "a wrong password");
  expect(sys_user_validpwd("nobody-here", "x") == ORV_E_NO_USER, "no user");
  orv::user_list users;
  users.read(sys_user_get);
}

void log_and_name_errors(int round) {
  errno = ENOENT;
  liborv_log_error("round %d: %s\n", round, orv_strerror(ORV_E_MODEL));
  orv_perror_msg("round %d", round);
  expect(errno == ENOENT, "errno");
  const int result = raid_destroy("md77");
  expect(result < 0 && std::strlen(orv_strerror(result)) > 0, "the code of a failure");
}

void limit_time(int round) {
  const auto seconds = static_cast<unsigned>(round % 3 + 1);
  const orv::tool_timeout limit(seconds);
  expect(liborv_system("exit 3") == 3 << 8, "a status under a limit");
  expect(orv_tool_timeout() == seconds, "the limit");
  if (round == 1) {
    const orv::tool_timeout short_limit(1);
    expect((liborv_system("sleep 20") & 0x7f) != 0 && errno == ETIMEDOUT, "a tool past its limit");
  }
}

void read_fields(int round) {
  const std::string line = "  a" + std::to_string(round) + ":b:12:c\n";
  char* field = nullptr;
  expect(get_substr_from_line(line.c_str(), static_cast<int>(line.size()), ":", 1, &field) == 1 &&
             *field == 'b',
         "a field");
  std::uint64_t number = 0;
  get_size_from_display(line.c_str(), static_cast<int>(line.size()), ":", 2, &number);
  expect(number == 12, "a number");
}

void ask_alarms(int) {
  int ends[2];
  must(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "socketpair");
  std::string answer(2 * 516, 'x');
  answer[4] = 1;
  must(write(ends[1], answer.data(), answer.size()) > 0, "answer");
  tag_alarm_list alarms;
  alarm_list_init(&alarms);
  expect(alarm_socket_get(&alarms, ends[0]) == ORV_OK, "alarms");
  alarm_list_fini(&alarms);
  close(ends[0]);
  close(ends[1]);
}

void change_host_name(int round) {
  hostname_set(round % 2 == 0 ? "nas1" : "nas2");
  read_text<hostname_get>();
}

void change_mount_table(int) {
  expect(add_mdfstab("/mnt/more", "vg1", "more") == ORV_OK, "an entry more");
  read<orv::file_system_list, mdfstab_get>();
  expect(del_mdfstab("/mnt/more") == ORV_OK, "an entry less");
}

void change_limits(int round) { ftp_share_para_set(static_cast<unsigned>(round), 5, 1); }

/// All changes of shares of a process are made one at a time.
void change_shares(int) {
  tag_share_config share;
  share_conf_init(&share);
  liborv_strncpy(share.name, sizeof share.name, "data");
  liborv_strncpy(share.path, sizeof share.path, "/mnt/data");
  liborv_strncpy(share.service, sizeof share.service, "nfs");
  expect(share_add(&share) == ORV_OK, "a share more");
  read<orv::share_list, get_shareinfo_from_shareconf>();
  expect(share_del("data", "nfs") == ORV_OK, "a share less");
}

void keep_a_file(int round) {
  put("/etc/kept.conf", std::to_string(round));
  expect(conf_save("/etc/kept.conf") == ORV_OK, "a kept file");
}

void run_all(int rounds) {
  // Those that only ask run twice at the same time.
  const std::vector<work> all = {ask_for_all_that_lies_below,
                                 ask_for_all_that_lies_below,
                                 ask_for_storage,
                                 ask_for_storage,
                                 ask_for_the_system,
                                 ask_for_the_system,
                                 check_passwords,
                                 check_passwords,
                                 log_and_name_errors,
                                 log_and_name_errors,
                                 limit_time,
                                 limit_time,
                                 read_fields,
                                 read_fields,
                                 ask_alarms,
                                 ask_alarms,
                                 change_host_name,
                                 change_mount_table,
                                 change_limits,
                                 change_shares,
                                 keep_a_file};
  std::vector<std::thread> threads;
  // ThreadSanitizer wants no new thread after a process was started.
  std::latch all_are_there(static_cast<std::ptrdiff_t>(all.size()));
  for (const work& each : all) {
    threads.emplace_back([&, rounds] {
      all_are_there.arrive_and_wait();
      for (int round = 0; round < rounds; ++round) each(round);
    });
  }
  for (std::thread& each : threads) each.join();
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
  leave_host();
  furnish(argc > 2 ? argv[2] : model_with_a_controller);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  close(nowhere);
  run_all(rounds);
  std::fprintf(stderr, "%d rounds, %d surprises\n", rounds, surprises.load());
  return surprises == 0 ? 0 : 1;
}
