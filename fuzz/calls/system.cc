/// Accounts, clock, log and processes.

#include <crypt.h>
#include <grp.h>
#include <orv/support.h>
#include <pwd.h>
#include <sys/time.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "handles.h"

using fuzz::the_machine;

/// Finds the first entry of a file for which a condition holds.
template <class Entry, class Next, class Condition>
static int find_entry(const char* path, Next next, Condition is_wanted, Entry** found) {
  *found = nullptr;
  FILE* const file = machine_fopen(path, "re");
  if (file == nullptr) return 0;
  int result = 0;
  while ((result = next(file, found)) == 0 && !is_wanted(**found)) {
  }
  std::fclose(file);
  if (result != 0) *found = nullptr;
  return result == ENOENT ? 0 : result;
}

template <class Condition>
static int find_group(Condition is_wanted, group* entry, char* texts, std::size_t size,
                      group** found) {
  return find_entry(
      "/etc/group",
      [&](FILE* file, group** next) { return fgetgrent_r(file, entry, texts, size, next); },
      is_wanted, found);
}

extern "C" {

int machine_getpwnam_r(const char* name, passwd* entry, char* texts, std::size_t size,
                       passwd** found) {
  return find_entry(
      "/etc/passwd",
      [&](FILE* file, passwd** next) { return fgetpwent_r(file, entry, texts, size, next); },
      [name](const passwd& next) { return std::strcmp(next.pw_name, name) == 0; }, found);
}

int machine_getgrnam_r(const char* name, group* entry, char* texts, std::size_t size,
                       group** found) {
  const auto has_name = [name](const group& next) { return std::strcmp(next.gr_name, name) == 0; };
  return find_group(has_name, entry, texts, size, found);
}

int machine_getgrgid_r(gid_t number, group* entry, char* texts, std::size_t size, group** found) {
  const auto has_number = [number](const group& next) { return next.gr_gid == number; };
  return find_group(has_number, entry, texts, size, found);
}

/// As cheap as a hash can be: that of a password is its setting.
char* machine_crypt_r(const char*, const char* setting, crypt_data*) {
  static char hash[128];
  std::snprintf(hash, sizeof hash, "%s", setting[0] == '$' ? setting : "*0");
  return hash;
}

time_t machine_time(time_t*) { return 1704067200; }  // 2024-01-01 00:00:00
int machine_settimeofday(const timeval*, const struct timezone*) { return 0; }
int machine_sethostname(const char*, std::size_t) { return 0; }
void machine_openlog(const char*, int, int) {}
void machine_syslog(int, const char*, ...) {}
int machine_system(const char* command) { return the_machine.run(command); }

int machine_uname(utsname* machine_names) {
  *machine_names = {};
  the_machine.release.copy(machine_names->release, sizeof machine_names->release - 1);
  return 0;
}

}  // extern "C"

// These two of the library start processes; `redirect` takes them out.
int liborv_system(const char* command) { return the_machine.run(command); }
int conf_save(const char*) { return 0; }
