#include "lvm/pv_device.h"

#include <orv/disk.h>

#include <algorithm>
#include <cstring>

namespace orv {

std::string device_of_channel(tag_diskinfo_list* disks, std::string_view channel,
                              const char* enclosure) {
  constexpr std::size_t buffer_of_translation = 256;
  std::string name(channel);
  name.resize(std::max(name.size() + 1, buffer_of_translation));
  if (trans_ch_disk(disks, name.data(), enclosure, 1) != 1) return {};
  name.resize(std::strlen(name.data()));
  return name;
}

}  // namespace orv
