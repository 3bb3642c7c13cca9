#include "libc.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/time.h>
#include <sys/utsname.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <set>
#include <stdexcept>

#include "define.h"
#include "kernel.h"

namespace sandbox::libc {
namespace {

struct fault {
  int error;
  int nth_call;  // 0: every call
  int calls = 0;
};

struct temp_file {
  std::string name;
  std::string pattern;
};

struct bent {
  std::mutex guard;
  std::map<std::string, fault, std::less<>> faults;
  std::map<std::string, disk_space, std::less<>> spaces;
  std::set<std::string, std::less<>> used_devices;
  std::vector<temp_file> temp_files;
  std::string kernel_release;
};

bent& state() {
  static bent the_state;
  return the_state;
}

// These functions are called long before main(); until a machine is there nothing is bent.
constinit std::atomic<bool> any_machine = false;

constexpr std::string_view functions[] = {"fchown",       "fopen",   "fstat",   "fsync",
                                          "gettimeofday", "mkstemp", "opendir", "rename",
                                          "stat",         "statfs",  "time",    "uname"};

bool is_known(std::string_view function) {
  const auto is_it = [&](std::string_view known) { return known == function; };
  return std::ranges::any_of(functions, is_it) || std::ranges::any_of(failing_calls(), is_it);
}

bool is_due(std::string_view function) {
  const std::lock_guard lock(state().guard);
  const auto found = state().faults.find(function);
  if (found == state().faults.end()) return false;
  auto& fault = found->second;
  if (fault.nth_call != 0 && ++fault.calls != fault.nth_call) return false;
  errno = fault.error;
  return true;
}

constinit thread_local int depth = 0;

class busy {
 public:
  busy() { ++depth; }
  ~busy() { --depth; }
  busy(const busy&) = delete;
  busy& operator=(const busy&) = delete;
};

void note_temp_file(const std::string& pattern, const char* name) {
  if (!any_machine) return;
  const std::lock_guard lock(state().guard);
  state().temp_files.push_back({name, pattern});
}

template <class space>
int bent_statfs(int result, const char* path, space* found) {
  if (!any_machine || path == nullptr) return result;
  const std::lock_guard lock(state().guard);
  const auto bent = state().spaces.find(path);
  if (bent == state().spaces.end()) return result;
  *found = {};
  found->f_bsize = bent->second.block_size;
  found->f_frsize = bent->second.block_size;
  found->f_blocks = bent->second.blocks;
  found->f_bfree = bent->second.available + bent->second.reserved;
  found->f_bavail = bent->second.available;
  return 0;
}

int bent_uname(int result, utsname* found) {
  if (!any_machine || result != 0) return result;
  const std::lock_guard lock(state().guard);
  const auto size = state().kernel_release.copy(found->release, sizeof found->release - 1);
  found->release[size] = '\0';
  return result;
}

}  // namespace

void make_bendable(std::string_view function) {
  if (!is_known(function)) throw std::invalid_argument("no way to bend " + std::string(function));
  if (function == "clone") refuse_clone3();
}

bool fails(std::string_view function) {
  if (!any_machine) return false;
  do_what_comes_before(function);
  return is_due(function);
}

void reset() {
  bend_nothing();
  const std::lock_guard lock(state().guard);
  state().faults.clear();
  state().spaces.clear();
  state().used_devices.clear();
  state().temp_files.clear();
  state().kernel_release = "6.1.0-test";
  any_machine = true;
}

void fail(std::string_view function, int error, int nth_call) {
  make_bendable(function);
  const std::lock_guard lock(state().guard);
  state().faults.insert_or_assign(std::string(function), fault{error, nth_call});
}

void set_kernel_release(std::string_view release) {
  const std::lock_guard lock(state().guard);
  state().kernel_release = release;
}

void set_in_use(const std::string& path) {
  const std::lock_guard lock(state().guard);
  state().used_devices.insert(path);
}

bool is_in_use(const char* path) {
  if (!any_machine) return false;
  const std::lock_guard lock(state().guard);
  return state().used_devices.contains(std::string_view(path));
}

void set_disk_space(const std::string& path, const disk_space& space) {
  const std::lock_guard lock(state().guard);
  state().spaces.insert_or_assign(path, space);
}

bool is_busy() { return depth > 0; }

std::string with_templates(std::string text) {
  const std::lock_guard lock(state().guard);
  for (const auto& [name, pattern] : state().temp_files) {
    for (size_t at = 0; (at = text.find(name, at)) != std::string::npos; at += pattern.size())
      text.replace(at, name.size(), pattern);
  }
  return text;
}

}  // namespace sandbox::libc

namespace {

using sandbox::libc::bent_stat;
using sandbox::libc::fails;
using sandbox::libc::real;

template <auto self, class... flags>
int temp_file(const char* symbol, char* name, flags... values) {
  if (fails("mkstemp")) return -1;
  const sandbox::libc::busy here;
  const std::string pattern = name;
  const int file = real<self>(symbol, name, values...);
  if (file >= 0) sandbox::libc::note_temp_file(pattern, name);
  return file;
}

}  // namespace

DEFINE(FILE*, fopen, const char* path, const char* mode) {
  return fails("fopen") ? nullptr : real<own_fopen>("fopen", path, mode);
}

DEFINE(FILE*, fopen64, const char* path, const char* mode) {
  return fails("fopen") ? nullptr : real<own_fopen64>("fopen64", path, mode);
}

DEFINE(DIR*, opendir, const char* path) {
  return fails("opendir") ? nullptr : real<own_opendir>("opendir", path);
}

DEFINE(int, stat, const char* path, struct stat* found) {
  return fails("stat") ? -1 : bent_stat(real<own_stat>("stat", path, found), found);
}

DEFINE(int, stat64, const char* path, struct stat* found) {
  return fails("stat") ? -1 : bent_stat(real<own_stat64>("stat64", path, found), found);
}

DEFINE(int, fstat, int file, struct stat* found) {
  return fails("fstat") ? -1 : bent_stat(real<own_fstat>("fstat", file, found), found);
}

DEFINE(int, fstat64, int file, struct stat* found) {
  return fails("fstat") ? -1 : bent_stat(real<own_fstat64>("fstat64", file, found), found);
}

DEFINE(int, fchown, int file, uid_t owner, gid_t group) {
  return fails("fchown") ? -1 : real<own_fchown>("fchown", file, owner, group);
}

DEFINE(int, fsync, int file) { return fails("fsync") ? -1 : real<own_fsync>("fsync", file); }

DEFINE(int, rename, const char* from, const char* to) {
  return fails("rename") ? -1 : real<own_rename>("rename", from, to);
}

DEFINE(time_t, time, time_t* now) { return fails("time") ? -1 : real<own_time>("time", now); }

DEFINE(int, gettimeofday, timeval* now, void* zone) {
  return fails("gettimeofday") ? -1 : real<own_gettimeofday>("gettimeofday", now, zone);
}

DEFINE(int, mkstemp, char* name) { return temp_file<own_mkstemp>("mkstemp", name); }

DEFINE(int, mkstemp64, char* name) { return temp_file<own_mkstemp64>("mkstemp64", name); }

DEFINE(int, mkostemp, char* name, int flags) {
  return temp_file<own_mkostemp>("mkostemp", name, flags);
}

DEFINE(int, mkostemp64, char* name, int flags) {
  return temp_file<own_mkostemp64>("mkostemp64", name, flags);
}

DEFINE(int, statfs, const char* path, struct statfs* found) {
  if (fails("statfs")) return -1;
  return sandbox::libc::bent_statfs(real<own_statfs>("statfs", path, found), path, found);
}

DEFINE(int, statfs64, const char* path, struct statfs64* found) {
  if (fails("statfs")) return -1;
  return sandbox::libc::bent_statfs(real<own_statfs64>("statfs64", path, found), path, found);
}

DEFINE(int, uname, utsname* found) {
  return fails("uname") ? -1 : sandbox::libc::bent_uname(real<own_uname>("uname", found), found);
}
