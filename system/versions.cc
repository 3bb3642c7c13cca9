#include <orv/support.h>
#include <orv/system.h>

#include <cstring>

#include "common/log.h"
#include "system/buffer.h"

namespace {

constexpr char info_file[] = "/etc/sys_info";
constexpr char fallback_file[] = "/etc/nas_base.conf";

/// Reads a key of the device's information file. The second file is asked only when the first left
/// the buffer empty; the result is that of the last lookup.
bool read_info(const char* section, const char* key, char* buffer, int size) {
  if (!orv::is_usable(buffer, size)) return false;
  std::memset(buffer, 0, static_cast<std::size_t>(size));
  int result = ini_value_get(buffer, info_file, section, key, size);
  if (buffer[0] == '\0') result = ini_value_get(buffer, fallback_file, section, key, size);
  return result == 0;
}

}  // namespace

int softversion_get(char* buffer, int size) try {
  if (read_info("version", "software", buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_SOFTWARE_VERSION);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int hardversion_get(char* buffer, int size) try {
  if (read_info("version", "hardware", buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_HARDWARE_VERSION);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int devmodel_get(char* buffer, int size) try {
  if (read_info("product", "type", buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_MODEL);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
