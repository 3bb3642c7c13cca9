#include "jail.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

#include "errors.h"
#include "programs/records.h"

namespace sandbox {
namespace {

// Directories that the build provides: one to mount on, and the programs of the machine.
const std::string mount_point = ORV_SANDBOX_ROOT;
const std::string programs = ORV_SANDBOX_PROGRAMS;

struct host {
  int root = -1;
  int working_directory = -1;
  bool only_one_user = false;
};
host the_host;

void write_proc(const char* path, const std::string& text) {
  const int file = must(::open(path, O_WRONLY | O_CLOEXEC), path);
  const auto written = ::write(file, text.data(), text.size());
  const int error = errno;
  ::close(file);
  errno = error;
  must(written, path);
}

void become_root_of_user_namespace(int namespaces) {
  const auto user = std::to_string(::getuid());
  const auto group = std::to_string(::getgid());
  must(::unshare(CLONE_NEWUSER | namespaces),
       "unshare: neither root nor allowed to make user namespaces");
  write_proc("/proc/self/setgroups", "deny");
  write_proc("/proc/self/uid_map", "0 " + user + " 1");
  write_proc("/proc/self/gid_map", "0 " + group + " 1");
  the_host.only_one_user = true;
}

void bind_read_only(const std::string& source, const std::string& target) {
  must(::mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr), "mount " + source);
  mount_attr read_only{};
  read_only.attr_set = MOUNT_ATTR_RDONLY;
  must(::mount_setattr(AT_FDCWD, target.c_str(), 0, &read_only, sizeof read_only),
       "mount read-only " + source);
}

void return_to_host() {
  if (::fchdir(the_host.root) != 0 || ::chroot(".") != 0 ||
      ::fchdir(the_host.working_directory) != 0)
    std::perror("leaving the fake machine");
}

}  // namespace

void leave_host() {
  constexpr int namespaces = CLONE_NEWNS | CLONE_NEWUTS;
  if (::unshare(namespaces) != 0) become_root_of_user_namespace(namespaces);
  must(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "mount --make-rprivate /");
  the_host.root = must(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC), "/");
  the_host.working_directory = must(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC), ".");
}

bool only_one_user() { return the_host.only_one_user; }

jail::jail() {
  if (the_host.root < 0) throw std::logic_error("a machine needs the sandbox's own main()");
  must(::mount("machine", mount_point.c_str(), "tmpfs", 0, "mode=755"), "mount " + mount_point);
  try {
    furnish();
    must(::chroot(mount_point.c_str()), "chroot");
    must(::chdir("/"), "chdir");
  } catch (...) {
    ::umount2(mount_point.c_str(), MNT_DETACH);
    throw;
  }
}

jail::~jail() {
  return_to_host();
  // Detaching takes along what the test mounted further down.
  if (::umount2(mount_point.c_str(), MNT_DETACH) != 0) std::perror("unmounting the fake machine");
}

void jail::furnish() const {
  for (const char* path : {"/bin",           "/sbin",
                           "/usr",           "/usr/bin",
                           "/usr/sbin",      "/usr/local",
                           "/usr/local/bin", "/usr/local/sbin",
                           "/etc",           "/proc",
                           "/sys",           "/sys/block",
                           "/dev",           "/tmp",
                           "/mnt",           "/var",
                           "/var/lib",       "/var/log",
                           "/var/run",       "/.sandbox",
                           "/.sandbox/bin",  "/.sandbox/answers"})
    must(::mkdir((mount_point + path).c_str(), 0755), path);
  must(::chmod((mount_point + "/tmp").c_str(), 01777), "/tmp");
  bind_read_only(programs, mount_point + "/.sandbox/bin");
  must(::symlink(shell, (mount_point + "/bin/sh").c_str()), "/bin/sh");
  for (const std::string device : {"/dev/null", "/dev/zero", "/dev/full"}) {
    must(::mknod((mount_point + device).c_str(), S_IFREG | 0666, 0), device);
    bind_read_only(device, mount_point + device);
  }
}

int open_on_host(const std::string& path, int flags) {
  if (the_host.root < 0) return ::open(path.c_str(), flags | O_CLOEXEC);
  open_how how{};
  how.flags = static_cast<uint64_t>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_IN_ROOT;
  return static_cast<int>(::syscall(SYS_openat2, the_host.root, path.c_str(), &how, sizeof how));
}

}  // namespace sandbox

// A sanitizer's report needs the real /proc and the real files to name its source lines.
extern "C" __attribute__((visibility("default"))) void __asan_on_error();  // NOLINT
extern "C" void __asan_on_error() {  // NOLINT(bugprone-reserved-identifier)
  if (sandbox::the_host.root >= 0) sandbox::return_to_host();
}
