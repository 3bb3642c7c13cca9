#include <fcntl.h>
#include <orv/support.h>
#include <orv/system.h>
#include <unistd.h>

#include <string>

#include "common/control_characters.h"
#include "common/handles.h"
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

/// @return ORV_OK, ORV_E_HOSTNAME_OPEN, ORV_E_HOSTNAME_WRITE or ORV_E_HOSTNAME_SET
int store_and_apply(const std::string& name) {
  const orv::unique_descriptor file(
      open(hostname_file, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, mode_of_new_file));
  if (!file) return orv::log_reason(ORV_E_HOSTNAME_OPEN, "can't open or create the file for '%s'!");
  if (!orv::write_whole(file.get(), name)) {
    return orv::log_reason(ORV_E_HOSTNAME_WRITE, "can't write the file for '%s'!");
  }
  if (sethostname(name.data(), name.size()) != 0) {
    return orv::log_reason(ORV_E_HOSTNAME_SET, "set the current hostname fail for '%s'!");
  }
  return ORV_OK;
}

}  // namespace

int hostname_set(const char* name) {
  const int result = store_and_apply(without_control_characters(orv::text_or_empty(name)));
  if (result == ORV_OK) conf_save(hostname_file);
  return result;
}
