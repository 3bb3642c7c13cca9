#include <fcntl.h>
#include <orv/lvm.h>
#include <orv/raid.h>

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

#include "common/command.h"
#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/md_kernel.h"
#include "common/text.h"
#include "common/whole_file.h"
#include "lvm/vg_backup.h"

namespace {

/// What the repairs return when a lost volume was dealt with, whether or not their tools succeeded;
/// callers then look again.
constexpr int handled = ORV_E_FAILED;

/// What the kernel says of an array; empty when it says nothing, none when it could not be asked.
std::optional<std::string> kernel_word(const tag_md_info& md, const char* attribute) {
  constexpr std::size_t longest_word = 64;
  const std::string path = "/sys/block/" + std::string(orv::text_of(md.name)) + "/md/" + attribute;
  const orv::unique_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file && orv::is_gone(errno)) return "";
  std::string text;
  if (!file || !orv::read_up_to(file.get(), text, longest_word)) return std::nullopt;
  return std::string(orv::trimmed(text));
}

bool is_stopped(std::string_view array_state) {
  return array_state == "inactive" || array_state == "clear";
}

/// Whether an array only seems to be inactive, and the kernel says that it runs. "inactive" is also
/// what stays when mdadm told no state, as when a full disk cut short what it said: to fail the
/// members of such an array would lose what is on them. So would a member whose state cannot be
/// read; an array counts as one that runs, too, when the kernel cannot be asked.
bool runs_all_the_same(const tag_md_info& md) {
  const auto state = kernel_word(md, "array_state");
  if (!state) return true;
  if (state->empty() || is_stopped(*state)) return false;
  const auto level = kernel_word(md, "level");
  if (!level) return true;
  if (!level->empty() && *level != orv::text_of(md.level)) return true;  // cut short, too
  if (orv::text_of(md.disks).find('(') == std::string_view::npos) return true;
  const auto lost = kernel_word(md, "degraded");
  if (!lost) return true;
  // Other levels count as inactive with any member that is lost or spare, even while they run.
  const int losable = orv::losable_members(orv::text_of(md.level));
  return losable > 0 && !lost->empty() &&
         orv::leading_number(*lost) <= static_cast<uint64_t>(losable);
}

/// An array that mdadm could not describe has no level, and "inactive" is only its default: then
/// the kernel's word is needed.
bool is_lost(const tag_md_info& md) {
  if (md.level[0] != '\0') return !runs_all_the_same(md);
  return is_stopped(kernel_word(md, "array_state").value_or(""));
}

/// Gives the identifier of a lost volume to the RAM disk.
void recreate_volume(const std::string& identifier) {
  orv::execute(orv::command("/sbin/pvcreate -u %s /dev/ram1", identifier));
}

}  // namespace

int vgcfgrestore(const char* vgname) try {
  return orv::execute(orv::command("/sbin/vgcfgrestore %s", vgname));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int pv_check_rm(FILE* backup, const char* pvname) try {
  if (backup == nullptr) {
    // Not the code of a missing argument: it would say that a volume was dealt with.
    orv::log_missing_argument();
    return ORV_OK;
  }
  std::optional<std::string> identifier;
  if (!orv::find_identifier(backup, orv::text_or_empty(pvname), identifier)) {
    return orv::log_failure(ORV_E_COMMAND);
  }
  if (!identifier) return ORV_OK;
  recreate_volume(*identifier);
  return handled;
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_COMMAND);
}

int md_vg_resume(const char* vgname, const char* pvname) try {
  const orv::unique_file backup = orv::open_backup(vgname);
  if (!backup) return ORV_E_NO_VG;
  const int result = pv_check_rm(backup.get(), pvname);
  if (result == handled) vgcfgrestore(vgname);
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_COMMAND);
}

int vg_check_rm(const char* vgname) try {
  const orv::unique_file backup = orv::open_backup(vgname);
  if (!backup) return ORV_E_NO_VG;
  orv::scoped_list<tag_mdinfo_list> raids;
  const int result = raid_get(raids.get());
  if (result != ORV_OK) return result;
  bool is_doubtful = false;
  for (tag_md_info& md : raids) {
    if (orv::text_of(md.state) != "inactive") continue;
    if (!is_lost(md)) {
      is_doubtful = true;
      continue;
    }
    // Read before anything is changed that the rest of the repair is to make good.
    std::optional<std::string> identifier;
    if (!orv::find_identifier(backup.get(), orv::text_of(md.name), identifier)) {
      return orv::log_failure(ORV_E_COMMAND);
    }
    set_raid_faulty(&md);
    if (identifier) recreate_volume(*identifier);
    vgcfgrestore(vgname);
    return handled;
  }
  if (!is_doubtful) return ORV_OK;
  errno = EBUSY;
  return orv::log_failure(ORV_E_COMMAND);
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_COMMAND);
}
