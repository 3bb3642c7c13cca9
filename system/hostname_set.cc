#include <fcntl.h>
#include <orv/support.h>
#include <orv/system.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "common/handles.h"
#include "common/text.h"
#include "common/whole_file.h"

namespace {

constexpr char hostname_file[] = "/etc/hostname";
constexpr mode_t mode_of_new_file = 0600;

bool is_control(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

/// A name of one line: the file holds nothing else.
std::string without_control_characters(std::string_view name) {
  std::string clean(name);
  for (char& c : clean) {
    if (is_control(c)) c = ' ';
  }
  return clean;
}

int log_host(const char* form, int code) {
  liborv_log_error(form, std::strerror(errno));
  return code;
}

/// @return ORV_OK, ORV_E_HOSTNAME_OPEN, ORV_E_HOSTNAME_WRITE or ORV_E_HOSTNAME_SET
int store_and_apply(const std::string& name) {
  const orv::unique_descriptor file(
      open(hostname_file, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, mode_of_new_file));
  if (!file) return log_host("can't open or create the file for '%s'!", ORV_E_HOSTNAME_OPEN);
  if (!orv::write_whole(file.get(), name)) {
    return log_host("can't write the file for '%s'!", ORV_E_HOSTNAME_WRITE);
  }
  if (sethostname(name.data(), name.size()) != 0) {
    return log_host("set the current hostname fail for '%s'!", ORV_E_HOSTNAME_SET);
  }
  return ORV_OK;
}

}  // namespace

int hostname_set(const char* name) {
  const int result = store_and_apply(without_control_characters(orv::text_or_empty(name)));
  if (result == ORV_OK) conf_save(hostname_file);
  return result;
}
