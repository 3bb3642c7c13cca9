#include <mntent.h>
#include <orv/share.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <unordered_map>

#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"
#include "share/share_list.h"

/// Which shares are mounted, and where.

namespace {

/// Marks a share as mounted, in `used`, until its use is measured.
constexpr uint64_t mounted = std::numeric_limits<uint64_t>::max();

/// For each mount the records are searched, in their order, for the share that is called like the
/// mount point. iSCSI volumes that the search passes over count as mounted.
class search {
 public:
  explicit search(tag_shareconf_list* list) : list_(list) {
    for (tag_share_config& share : orv::records(list)) {
      if (!orv::is_iscsi(share)) shares_.try_emplace(orv::text_of(share.name), &share, count_);
      ++count_;
    }
  }

  void find(std::string_view directory) {
    const auto found = shares_.find(orv::after_last(directory, '/'));
    passed_over_ = std::max(passed_over_, found == shares_.end() ? count_ : found->second.position);
    if (found == shares_.end()) return;
    tag_share_config& share = *found->second.share;
    orv::set_text(share.path, directory);
    share.used = mounted;
  }

  void mark_volumes() const {
    std::size_t position = 0;
    for (tag_share_config& share : orv::records(list_)) {
      if (position++ < passed_over_ && orv::is_iscsi(share)) share.used = mounted;
    }
  }

 private:
  struct place {
    place(tag_share_config* found, std::size_t number) : share(found), position(number) {}
    tag_share_config* share;
    std::size_t position;
  };

  tag_shareconf_list* list_;
  std::unordered_map<std::string_view, place> shares_;
  std::size_t count_ = 0;
  std::size_t passed_over_ = 0;
};

void find_all(FILE* mounts, tag_shareconf_list* list) {
  search shares(list);
  char strings[4096];
  mntent entry{};
  while (getmntent_r(mounts, &entry, strings, sizeof strings) != nullptr) {
    shares.find(entry.mnt_dir);
  }
  shares.mark_volumes();
}

}  // namespace

int get_shareinfo_from_mount(tag_shareconf_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::unique_mount_table mounts(setmntent("/proc/mounts", "re"));
  if (!mounts) return ORV_OK;
  find_all(mounts.get(), list);
  for (tag_share_config& share : orv::records(list)) {
    if (share.used == mounted) continue;
    orv::set_text(share.comment, "Filesystem unmounted");
    share.used = 0;
  }
  return ORV_OK;
}
