#include "bindings/python/disk_selection.h"

#include <string>

#include "bindings/python/failures.h"

namespace orv_python {

orv::disk_list disks_of(const char* wanted, const char* place) {
  orv::disk_list disks;
  check(disks.read(disks_info_get).code());
  int found = 0;
  for (auto at = disks.begin(); at != disks.end();) {
    const bool chosen = disk_ch_cmp(at->ch, wanted) == 1 && at->enclosure == std::string(place);
    found += chosen ? 1 : 0;
    at = chosen ? std::next(at) : disks.erase(at);
  }
  if (found == count_disks(wanted)) return disks;
  throw failure{ORV_E_NO_DISK, std::string("channels ") + wanted + " of enclosure " + place};
}

}  // namespace orv_python
