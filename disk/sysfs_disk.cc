#include <fcntl.h>
#include <orv/disk.h>
#include <orv/support.h>

#include <optional>
#include <string>

#include "common/families.h"
#include "common/gib.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"
#include "common/whole_file.h"

namespace {

/// Up to 256 bytes of a disk's file in sysfs, cleaned; nothing when it cannot be opened or read.
std::optional<std::string> attribute(const tag_disk_info& disk, const char* file_name) {
  constexpr int longest = 256;
  std::string path("/sys/block/");
  path.append(orv::text_of(disk.name)).append(file_name);
  const orv::unique_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string text;
  if (!file || !orv::read_up_to(file.get(), text, longest)) {
    orv::check_memory();
    return std::nullopt;
  }
  return clear_string(text.data(), longest);
}

/// Fills what the kernel knows of a disk, up to the first file that cannot be read.
void fill(tag_disk_info& disk) {
  const auto size = attribute(disk, "/size");
  if (!size) return;
  disk.size = orv::nearest_gib_of_sectors(orv::leading_number(*size));
  const auto state = attribute(disk, "/device/state");
  if (!state) return;
  orv::set_text(disk.state, *state);
  const auto model = attribute(disk, "/device/model");
  if (model) orv::set_text(disk.model, *model);
}

}  // namespace

int get_diskinfo_from_sd(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  for (tag_disk_info& disk : orv::records(list)) fill(disk);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
