#include <fcntl.h>
#include <orv/support.h>
#include <orv/system.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "common/control_characters.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/own_lock.h"
#include "common/replacement_file.h"
#include "common/text.h"
#include "common/whole_file.h"
#include "system/reason_log.h"

namespace {

constexpr char hostname_file[] = "/etc/hostname";
constexpr mode_t mode_of_new_file = 0600;

/// A name of one line: the file holds nothing else.
std::string without_control_characters(std::string_view name) {
  std::string clean(name);
  for (char& c : clean) {
    if (orv::is_control(c)) c = ' ';
  }
  return clean;
}

int create_new(const std::string& path) {
  unlink(path.c_str());  // what a killed process left of its own
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  return open(path.c_str(), flags, mode_of_new_file);
}

/// Puts a new file in the place of the old one: who reads the name finds one of the two whole. A
/// link is not replaced.
bool replace(int file, std::string_view name) {
  struct stat present {};
  struct stat opened {};
  if (lstat(hostname_file, &present) != 0 || fstat(file, &opened) != 0 ||
      !S_ISREG(present.st_mode) || present.st_ino != opened.st_ino) {
    return false;
  }
  const std::string path = std::string(hostname_file) + '+';
  orv::replacement_file renewed(path, create_new);
  if (!renewed.exists() || !renewed.write(name) || !renewed.complete(opened) ||
      std::rename(path.c_str(), hostname_file) != 0) {
    return false;
  }
  renewed.leave();
  return true;
}

bool overwrite(std::string_view name) {
  const orv::unique_descriptor file(open(hostname_file, O_WRONLY | O_TRUNC | O_CLOEXEC));
  return file && orv::write_whole(file.get(), name);
}

/// @return ORV_OK, ORV_E_HOSTNAME_OPEN, ORV_E_HOSTNAME_WRITE or ORV_E_HOSTNAME_SET
int store_and_apply(const std::string& name) {
  const orv::own_lock lock("hostname");
  const orv::unique_descriptor file(
      lock ? open(hostname_file, O_RDWR | O_CREAT | O_CLOEXEC, mode_of_new_file) : -1);
  if (!file) return orv::log_reason(ORV_E_HOSTNAME_OPEN, "can't open or create the file for '%s'!");
  if (!replace(file.get(), name) && !overwrite(name)) {
    return orv::log_reason(ORV_E_HOSTNAME_WRITE, "can't write the file for '%s'!");
  }
  if (sethostname(name.data(), name.size()) != 0) {
    return orv::log_reason(ORV_E_HOSTNAME_SET, "set the current hostname fail for '%s'!");
  }
  return ORV_OK;
}

}  // namespace

int hostname_set(const char* name) try {
  const int result = store_and_apply(without_control_characters(orv::text_or_empty(name)));
  if (result == ORV_OK) conf_save(hostname_file);
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
