#include <orv/disk.h>

#include <cerrno>
#include <string>

#include "common/log.h"
#include "common/text.h"
#include "disk/smart_output.h"

namespace {

/// Fills a text of the summary from the line with a key, or with the second such line.
template <std::size_t Size>
int fill(char (&field)[Size], FILE* file, const char* key, int index = 0) {
  return get_value_from_file(file, key, ":", index, field, static_cast<int>(Size));
}

/// @return the result for the health line
int fill_summary(tag_smart_info& smart, FILE* file) {
  constexpr int second_line = 1;
  fill(smart.device_model, file, "Device Model");
  fill(smart.serial_number, file, "Serial Number");
  fill(smart.firmware_version, file, "Firmware Version");
  fill(smart.user_capacity, file, "User Capacity");
  fill(smart.ata_version, file, "ATA Version is");
  fill(smart.ata_standard, file, "ATA Standard is");
  fill(smart.smart_support, file, "SMART support is");
  fill(smart.smart_enabled, file, "SMART support is", second_line);
  return fill(smart.health, file, "SMART overall-health self-assessment test result");
}

}  // namespace

int get_smart(tag_disk_info* disk) try {
  if (disk == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_of(disk->name));
  orv::smart_output output("/tmp/smart_" + name + ".XXXXXX");
  const orv::command ask("/usr/local/sbin/smartctl -d marvell -T permissive -Hi /dev/%s > %s", name,
                         output.path());
  const int result = output.read(ask, ORV_E_SMART_SUMMARY);
  if (result != ORV_OK) return result;
  errno = 0;
  const int filled = fill_summary(disk->smart, output.file());
  // A line without memory reads as one that is missing.
  return errno == ENOMEM ? orv::log_failure(ORV_E_SMART_SUMMARY) : filled;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
