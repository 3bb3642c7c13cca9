#include "bindings/python/disk_selection.h"

#include <string>

#include "bindings/python/failures.h"

namespace orv_python {

orv::disk_list disks_of(const char* channels, const char* enclosure) {
  orv::disk_list disks;
  check(disks.read(disks_info_get).code());
  int found = 0;
  for (auto at = disks.begin(); at != disks.end();) {
    const bool wanted =
        disk_ch_cmp(at->ch, channels) == 1 && at->enclosure == std::string(enclosure);
    found += wanted ? 1 : 0;
    at = wanted ? std::next(at) : disks.erase(at);
  }
  if (found == count_disks(channels)) return disks;
  throw failure{ORV_E_NO_DISK, std::string("channels ") + channels + " of enclosure " + enclosure};
}

}  // namespace orv_python
