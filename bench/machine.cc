#include "bench/machine.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "bench/programs/agreement.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

const std::string root = ORV_BENCH_ROOT;

/// The machine's storage tools, all of them one program.
constexpr const char* tools[] = {
    "/sbin/mdadm",        "/sbin/vgdisplay",         "/sbin/pvdisplay",
    "/sbin/lvdisplay",    "/usr/local/bin/hotspare", "/usr/local/sbin/smartctl",
    "/usr/bin/smbstatus", "/usr/bin/netstat",        "/usr/bin/adduser",
    "/usr/bin/smbpasswd", "/usr/local/bin/pwstate",  "/usr/bin/busybox",
    "/usr/bin/ps"};

void must(int result, const std::string& what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
}

void write_once(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  must(file, path);
  const bool written = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(file);
  must(written ? 0 : -1, path);
}

/// An ordinary user becomes root of a user namespace.
void leave_host() {
  const std::string user = std::to_string(getuid());
  const std::string group = std::to_string(getgid());
  if (unshare(CLONE_NEWNS) != 0) {
    must(unshare(CLONE_NEWUSER | CLONE_NEWNS), "unshare");
    write_once("/proc/self/setgroups", "deny");
    write_once("/proc/self/uid_map", "0 " + user + " 1");
    write_once("/proc/self/gid_map", "0 " + group + " 1");
  }
  must(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "mount --make-rprivate /");
}

void bind(const std::string& from, const std::string& to) {
  fs::create_directories(to);
  must(mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr), "mount " + to);
}

/// The machine has the host's programs, but for the tools that it simulates.
void furnish() {
  for (const char* folder : {"/usr/lib", "/usr/share", "/dev"}) bind(folder, root + folder);
  if (fs::exists("/usr/lib64")) bind("/usr/lib64", root + "/usr/lib64");
  bind("/usr/bin", root + "/host/bin");
  for (const char* folder :
       {"/usr/bin", "/sbin", "/usr/local/bin", "/usr/local/sbin", "/etc/samba", "/proc/net/iet",
        "/sys/block", "/tmp", "/mnt", "/var/log", "/canned"}) {
    fs::create_directories(root + folder);
  }
  for (const auto& program : fs::directory_iterator("/usr/bin")) {
    const std::string name = program.path().filename();
    // A link says what a program is: "sh" is "dash".
    const bool is_link = fs::is_symlink(program.symlink_status());
    const fs::path target =
        is_link ? fs::read_symlink(program.path()) : fs::path("/host/bin/" + name);
    fs::create_symlink(target, root + "/usr/bin/" + name);
  }
  fs::create_symlink("usr/bin", root + "/bin");
  fs::create_symlink("usr/lib", root + "/lib");
  if (fs::exists("/usr/lib64")) fs::create_symlink("usr/lib64", root + "/lib64");
  fs::copy("/etc/alternatives", root + "/etc/alternatives",
           fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  // Without it every program searches for its libraries.
  fs::copy_file("/etc/ld.so.cache", root + "/etc/ld.so.cache");
}

void provide(const std::string& program, const std::string& path) {
  fs::remove(root + path);
  fs::copy_file(program, root + path);
}

}  // namespace

void enter_machine() {
  leave_host();
  fs::create_directories(root);
  must(mount("machine", root.c_str(), "tmpfs", 0, "mode=755"), "mount " + root);
  furnish();
  for (const char* const tool : tools) provide(ORV_BENCH_TOOL, tool);
  provide(ORV_BENCH_REPORT, "/usr/bin/orv_report");
  fs::create_directories(root + "/orv/support");
  provide(ORV_BENCH_SUPPORT, "/orv/support/liborvsupport.so.1");
  provide(ORV_BENCH_MGMT, "/orv/liborvmgmt.so.1");
  fs::copy(ORV_BENCH_PEERS, root + "/peers", fs::copy_options::recursive);
  must(chroot(root.c_str()), "chroot");
  must(chdir("/"), "chdir");
  must(setenv("PATH", "/usr/local/bin:/usr/bin:/sbin", 1), "PATH");
  write_file("/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
}

void write_file(const std::string& path, std::string_view text) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::system_error(errno, std::generic_category(), path);
}

std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void can(const std::string& command_line, std::string_view text) {
  write_file("/canned/" + canned_name(command_line), text);
}

void set_groups(int number) {
  must(setenv(groups_variable, std::to_string(number).c_str(), 1), groups_variable);
}

void set_pace(pace wanted) {
  must(setenv(pace_variable, wanted == pace::real ? "real" : "none", 1), pace_variable);
}

}  // namespace bench
