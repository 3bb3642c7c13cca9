#include "call_watch.h"

#include <fcntl.h>
#include <link.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace faults {
namespace {

constexpr int no_path = -1;

struct kind {
  long number;
  const char* name;
  int path_argument;
  std::vector<int> errors;
};

/// The calls of the libraries, and of the five errors those that the kernel may give to each: what
/// no caller can ever see is not tried. The number of open files matters only to calls that open
/// one, space only to those that write or make a name, and a signal interrupts only what may wait.
///
/// Not watched is what fails for none of the five reasons (kill, uname, setpgid, close_range, the
/// signal mask), and what only asks for memory (mmap, brk): allocations.h makes allocations fail,
/// and a new process without memory for its stack is to its maker one that clone refused.
const std::vector<kind>& kinds() {
  static const std::vector<int> opening = {EIO, ENOSPC, EINTR, EMFILE, ENOMEM};
  static const std::vector<int> reading = {EIO, EINTR, ENOMEM};
  static const std::vector<int> writing = {EIO, ENOSPC, EINTR, ENOMEM};
  static const std::vector<int> finishing = {EIO, ENOSPC, EINTR};
  static const std::vector<int> examining = {EIO, ENOMEM};
  static const std::vector<int> naming = {EIO, ENOSPC, ENOMEM};
  static const std::vector<kind> all = {
      {SYS_openat, "openat", 1, opening},
      {SYS_read, "read", no_path, reading},
      {SYS_pread64, "pread", no_path, reading},
      {SYS_getdents64, "getdents", no_path, {EIO, ENOMEM}},
      {SYS_write, "write", no_path, writing},
      {SYS_writev, "writev", no_path, writing},
      {SYS_pwrite64, "pwrite", no_path, writing},
      {SYS_sendfile, "sendfile", no_path, writing},
      {SYS_copy_file_range, "copy_file_range", no_path, writing},
      // Of a file system that asks another machine first.
      {SYS_lseek, "lseek", no_path, {EIO}},
      {SYS_close, "close", no_path, finishing},
      {SYS_fsync, "fsync", no_path, finishing},
      {SYS_fdatasync, "fdatasync", no_path, finishing},
      {SYS_ftruncate, "ftruncate", no_path, writing},
      {SYS_fallocate, "fallocate", no_path, writing},
      {SYS_fstat, "fstat", no_path, examining},
      {SYS_stat, "stat", 0, examining},
      {SYS_lstat, "lstat", 0, examining},
      {SYS_newfstatat, "fstatat", 1, examining},
      {SYS_statx, "statx", 1, examining},
      {SYS_access, "access", 0, examining},
      {SYS_faccessat, "faccessat", 1, examining},
      {SYS_faccessat2, "faccessat", 1, examining},
      {SYS_statfs, "statfs", 0, {EIO, EINTR, ENOMEM}},
      {SYS_readlink, "readlink", 0, examining},
      {SYS_getcwd, "getcwd", no_path, {ENOMEM}},
      {SYS_rename, "rename", 0, naming},
      {SYS_renameat, "renameat", 1, naming},
      {SYS_renameat2, "renameat", 1, naming},
      {SYS_link, "link", 0, naming},
      {SYS_linkat, "linkat", 1, naming},
      {SYS_symlink, "symlink", 0, naming},
      {SYS_unlink, "unlink", 0, {EIO, ENOMEM}},
      {SYS_unlinkat, "unlinkat", 1, {EIO, ENOMEM}},
      {SYS_mkdir, "mkdir", 0, naming},
      {SYS_mkdirat, "mkdirat", 1, naming},
      {SYS_rmdir, "rmdir", 0, {EIO, ENOMEM}},
      {SYS_chmod, "chmod", 0, naming},
      {SYS_fchmod, "fchmod", no_path, naming},
      {SYS_fchmodat, "fchmodat", 1, naming},
      {SYS_chown, "chown", 0, naming},
      {SYS_fchown, "fchown", no_path, naming},
      {SYS_fchownat, "fchownat", 1, naming},
      {SYS_utimensat, "utimensat", no_path, naming},
      {SYS_fcntl, "fcntl", no_path, {EIO, EINTR, ENOMEM}},
      {SYS_flock, "flock", no_path, {EINTR, ENOMEM}},
      {SYS_clone, "clone", no_path, {ENOMEM}},
      {SYS_clone3, "clone", no_path, {ENOMEM}},
      {SYS_vfork, "vfork", no_path, {ENOMEM}},
      {SYS_fork, "fork", no_path, {ENOMEM}},
      {SYS_execve, "execve", 0, {EIO, EMFILE, ENOMEM}},
      {SYS_wait4, "wait4", no_path, {EINTR}},
      {SYS_waitid, "waitid", no_path, {EINTR}},
      {SYS_pidfd_open, "pidfd_open", no_path, {EMFILE, ENOMEM}},
      {SYS_dup2, "dup2", no_path, {EINTR, EMFILE}},
      {SYS_dup, "dup", no_path, {EMFILE}},
      {SYS_pipe2, "pipe", no_path, {EMFILE, ENOMEM}},
      {SYS_poll, "poll", no_path, {EINTR, ENOMEM}},
      {SYS_socket, "socket", no_path, {EMFILE, ENOMEM}},
      {SYS_setsockopt, "setsockopt", no_path, {ENOMEM}},
      {SYS_connect, "connect", no_path, {EINTR, ENOMEM}},
      {SYS_bind, "bind", no_path, {EIO, ENOSPC, ENOMEM}},
      {SYS_sendto, "sendto", no_path, {EIO, EINTR, ENOMEM}},
      {SYS_recvfrom, "recvfrom", no_path, {EIO, EINTR, ENOMEM}},
      {SYS_recvmsg, "recvmsg", no_path, {EIO, EINTR, ENOMEM}},
      {SYS_ioctl, "ioctl", no_path, {EIO, EINTR}},
      // What changes the whole machine: see may_happen.
      {SYS_sethostname, "sethostname", no_path, {EIO}},
      {SYS_settimeofday, "settimeofday", no_path, {EIO}},
      {SYS_clock_settime, "clock_settime", no_path, {EIO}},
  };
  return all;
}

const kind& kind_of(long number) {
  const auto found = std::find_if(kinds().begin(), kinds().end(),
                                  [&](const kind& one) { return one.number == number; });
  if (found == kinds().end()) throw std::logic_error("a call that the filter does not watch");
  return *found;
}

/// The real clock is not the test's to set.
bool may_happen(long number) { return number != SYS_settimeofday && number != SYS_clock_settime; }

/// Questions about a descriptor are answered from the process's own table: they fail only where
/// there is no such descriptor.
bool only_asks(const seccomp_data& data) {
  return data.nr == SYS_fcntl && (data.args[1] == F_GETFD || data.args[1] == F_GETFL);
}

system_call described(const seccomp_data& data) {
  const kind& one = kind_of(data.nr);
  // A process that is refused for ever is so in every way.
  const long number = data.nr == SYS_clone3 ? SYS_clone : data.nr;
  system_call call{.number = number, .text = one.name, .errors = one.errors};
  if (one.path_argument != no_path) {
    const auto path = static_cast<uintptr_t>(data.args[static_cast<size_t>(one.path_argument)]);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the caller's own pointer, and its memory is ours
    const char* const name = path == 0 ? "" : reinterpret_cast<const char*>(path);
    if (*name != '\0') call.text += std::string(" ") + name;
  }
  const bool creates = data.nr == SYS_openat && (data.args[2] & O_CREAT) != 0;
  if (data.nr == SYS_openat && !creates) std::erase(call.errors, ENOSPC);
  if (only_asks(data)) call.errors.clear();
  return call;
}

struct code_range {
  const char* library;
  uintptr_t begin = 0;
  uintptr_t end = 0;
};

int find_library(dl_phdr_info* object, size_t /*size*/, void* sought) {
  auto& range = *static_cast<code_range*>(sought);
  if (std::strstr(object->dlpi_name, range.library) == nullptr) return 0;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const auto& part = object->dlpi_phdr[i];
    if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
    range.begin = object->dlpi_addr + part.p_vaddr;
    range.end = range.begin + part.p_memsz;
  }
  return 1;
}

code_range code_of(const char* library) {
  code_range range{library};
  ::dl_iterate_phdr(find_library, &range);
  if (range.begin == 0 || range.begin >> 32 != range.end >> 32)
    throw std::runtime_error("the code of a library is not where a filter can name it");
  return range;
}

sock_filter load(size_t offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset));
}

/// Steps that go on behind `otherwise` more ones when a call comes from this code.
std::vector<sock_filter> comes_from(const code_range& code, size_t otherwise) {
  constexpr size_t address = offsetof(seccomp_data, instruction_pointer);
  return {
      load(address + 4),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(code.begin >> 32), 0, 4),
      load(address),
      BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, static_cast<uint32_t>(code.begin), 0, 2),
      BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, static_cast<uint32_t>(code.end), 1, 0),
      BPF_STMT(BPF_JMP | BPF_JA, static_cast<uint32_t>(otherwise)),
  };
}

/// Watched calls from the code of the C library, and of ours that asks the kernel itself, wait for
/// us; everything else goes on.
std::vector<sock_filter> filter() {
  const sock_filter allow = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  std::vector<sock_filter> steps = {allow};
  for (const char* const library : {"/libc.so", "/liborvsupport.so"}) {
    const auto more = comes_from(code_of(library), steps.size());
    steps.insert(steps.begin(), more.begin(), more.end());
  }
  steps.push_back(load(offsetof(seccomp_data, nr)));
  for (const kind& one : kinds()) {
    steps.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(one.number), 0, 1));
    steps.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
  }
  steps.push_back(allow);
  return steps;
}

int install_filter() {
  auto steps = filter();
  const sock_fprog program = {static_cast<unsigned short>(steps.size()), steps.data()};
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  const auto listener = static_cast<int>(
      ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
  if (listener < 0) throw std::runtime_error("this kernel has no seccomp listeners");
  return listener;
}

}  // namespace

call_watch::call_watch(call_fault fault, std::function<void(const system_call&)> before_each)
    : fault_(fault), before_each_(std::move(before_each)), wake_(::eventfd(0, EFD_CLOEXEC)) {
  calls_.reserve(4096);
}

call_watch::~call_watch() {
  ::eventfd_write(wake_, 1);
  if (server_.joinable()) server_.join();
  if (listener_ >= 0) ::close(listener_);
  ::close(wake_);
}

void call_watch::begin() {
  thread_id_ = static_cast<int>(::syscall(SYS_gettid));
  // The server must not have the filter itself: it starts first, and waits for the listener.
  server_ = std::thread([this] {
    installed_.wait(false);
    serve();
  });
  listener_ = install_filter();
  counting_ = true;
  installed_ = true;
  installed_.notify_one();
}

void call_watch::end() { counting_ = false; }

void call_watch::serve() {
  pollfd waited[] = {{listener_, POLLIN, 0}, {wake_, POLLIN, 0}};
  while (::poll(waited, 2, -1) >= 0 || errno == EINTR) {
    if ((waited[0].revents & POLLIN) != 0) answer();
    if (waited[1].revents != 0) return;
    if ((waited[0].revents & POLLHUP) != 0) waited[0].fd = -1;  // all watched threads are gone
  }
}

void call_watch::answer() {
  seccomp_notif asked{};
  if (::ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &asked) != 0) return;
  seccomp_notif_resp reply{};
  reply.id = asked.id;
  reply.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
  if (counting_) {
    system_call call = described(asked.data);
    const bool by_watched_thread = static_cast<int>(asked.pid) == thread_id_;
    const auto argument = static_cast<long>(asked.data.args[0]);
    if (call.number == SYS_write && argument == STDOUT_FILENO) call.text += to_standard_output;
    if (by_watched_thread) {
      note_context(call);
    } else {
      call.text += by_the_child;
    }
    // Who is refused a process by clone3 is so by clone, which is asked for next.
    const bool is_second_try = asked.data.nr == SYS_clone && error_of_clone3_ != 0;
    const int error =
        is_second_try ? error_of_clone3_ : error_for(call, argument, by_watched_thread);
    error_of_clone3_ = asked.data.nr == SYS_clone3 ? error : 0;
    if (error != 0 || !may_happen(call.number)) reply.flags = 0;
    reply.error = -error;
    if (error == 0 && before_each_) before_each_(call);
  }
  ::ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &reply);
}

/// A call that names no file is told apart by the file opened last, which it mostly is about.
void call_watch::note_context(system_call& call) {
  const bool names_a_file = call.text.find(' ') != std::string::npos;
  if (call.number == SYS_openat) last_opened_ = call.text;
  if (!names_a_file && !last_opened_.empty()) call.text += " behind " + last_opened_;
}

/// The errno with which this call fails; 0 when it does not.
int call_watch::error_for(const system_call& call, long first_argument, bool by_watched_thread) {
  // Nothing is interrupted for ever: whoever tries again gets through in the end.
  constexpr int most_interruptions = 25;
  const auto place = static_cast<int>(calls_.size());
  calls_.push_back(call);
  if (place == fault_.at) failing_kind_ = call.number;
  const bool meant = place == fault_.at || (fault_.for_ever && call.number == failing_kind_);
  if (!meant || call.errors.empty()) return 0;
  if (fault_.error == EINTR && ++failures_ > most_interruptions) return 0;
  if (call.number == SYS_close && by_watched_thread) {
    const auto number = static_cast<int>(first_argument);
    const bool again = std::find(closed_.begin(), closed_.end(), number) != closed_.end();
    (again ? closed_twice_ : closed_).push_back(number);
  }
  return fault_.error;
}

}  // namespace faults
