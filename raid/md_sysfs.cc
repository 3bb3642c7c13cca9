#include <dirent.h>
#include <fcntl.h>
#include <orv/disk.h>
#include <orv/raid.h>
#include <orv/support.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "common/disk_list.h"
#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/md_kernel.h"
#include "common/record_index.h"
#include "common/text.h"
#include "common/whole_file.h"

namespace {

struct member_counts {
  int found = 0;
  int faulty = 0;
  int spare = 0;
  int in_sync = 0;
};

/// What the kernel says of a member, and how that is told and shown.
struct member_state {
  int value;
  const char* word;
  const char* mark;
  int member_counts::*counter;
};

constexpr member_state member_states[] = {{1, "faulty", "(F)", &member_counts::faulty},
                                          {2, "spare", "(S)", &member_counts::spare},
                                          {3, "in_sync", "", &member_counts::in_sync}};

constexpr std::size_t largest_kernel_text = 4096;

/// The trimmed text of a kernel file, of which nothing is left after a read error. A file that
/// cannot be opened is printed, and logged in the name of the caller.
/// @param error  why it cannot be opened; unchanged when it can
std::optional<std::string> kernel_text(const char* path, int& error,
                                       const char* function = __builtin_FUNCTION(),
                                       int line = __builtin_LINE()) {
  const char* const name = path == nullptr ? "" : path;
  const orv::unique_descriptor file(open(name, O_RDONLY | O_CLOEXEC));
  if (!file) {
    error = errno;
    orv::log_null(function, line);
    std::printf("cannot cat %s\n", name);
    return std::nullopt;
  }
  std::string text;
  if (!orv::read_up_to(file.get(), text, largest_kernel_text)) text.clear();
  return std::string(orv::trimmed(text));
}

int state_in(const std::optional<std::string>& text) {
  if (!text) return -1;
  // Newer kernels add flags: "in_sync,write_mostly", "faulty,write_error".
  for (const member_state& known : member_states) {
    if (liborv_strcmp_substr(text->c_str(), known.word, ",") == 0) return known.value;
  }
  return 0;
}

/// A member that went away meanwhile is a lost one. What else keeps us from opening its state, as
/// too many open files, says nothing about the disk: taken for a loss it would make a healthy array
/// inactive.
bool is_no_loss(int error) { return error != 0 && !orv::is_gone(error); }

void append_text(tag_md_info& md, const std::string& text) {
  liborv_strncat(md.disks, static_cast<int>(sizeof md.disks), text.c_str());
}

using disk_index = orv::record_index<tag_diskinfo_list>;

void copy_enclosure(const disk_index& disks, std::string_view name, tag_md_info& md) {
  const tag_disk_info* const disk = disks.find(name);
  if (disk != nullptr) orv::set_text(md.enclosure, orv::text_of(disk->enclosure));
}

void add_member(const std::string& name, int state, member_counts& counts, tag_md_info& md) {
  ++counts.found;
  append_text(md, md.disks[0] == '\0' ? name : "," + name);
  for (const member_state& known : member_states) {
    if (known.value != state) continue;
    append_text(md, known.mark);
    ++(counts.*known.counter);
  }
}

/// @param error  why the members are not all known; unchanged when they are
member_counts read_members(DIR* directory, const std::string& path, const disk_index& disks,
                           tag_md_info& md, int& error) {
  constexpr std::string_view prefix = "dev-";
  constexpr std::string_view member_beginning = "dev-sd";
  member_counts counts;
  for (errno = 0; const dirent* const found = readdir(directory); errno = 0) {
    const std::string entry = found->d_name;
    if (!entry.starts_with(member_beginning)) continue;
    const std::string name = entry.substr(prefix.size());
    copy_enclosure(disks, name, md);
    const std::string state_path = std::string(path).append("/").append(entry).append("/state");
    int reason = 0;
    const auto state = kernel_text(state_path.c_str(), reason, "get_disk_state");
    if (is_no_loss(reason)) error = reason;
    add_member(name, state_in(state), counts, md);
  }
  if (errno != 0) error = errno;
  return counts;
}

/// Every missing member is an item of its own, with a comma before it even when it comes first.
void add_missing(int missing, tag_md_info& md) {
  constexpr std::size_t room = sizeof md.disks - 1;
  for (; missing > 0 && std::strlen(md.disks) < room; --missing) append_text(md, ",*(M)");
}

bool has_lost_data(const tag_md_info& md, int expected, int missing, const member_counts& counts) {
  const int losable = orv::losable_members(orv::text_of(md.level));
  if (losable > 0) return expected - counts.in_sync > losable;
  return counts.faulty >= 1 || missing >= 1 || counts.spare >= 1;
}

/// @return 0, or why the members of the array are not all known
int read_array(DIR* directory, const std::string& path, const disk_index& disks, tag_md_info& md) {
  const int expected = get_raid_disks((path + "/raid_disks").c_str());
  int error = 0;
  const member_counts counts = read_members(directory, path, disks, md, error);
  if (error != 0) return error;
  const int missing = expected > counts.found ? expected - counts.found : 0;
  add_missing(missing, md);
  if (has_lost_data(md, expected, missing, counts)) orv::set_text(md.state, "inactive");
  return 0;
}

}  // namespace

int get_disk_state(const char* path) try {
  int reason = 0;
  return state_in(kernel_text(path, reason));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_raid_disks(const char* path) try {
  constexpr uint64_t largest = std::numeric_limits<int>::max();
  int reason = 0;
  const uint64_t number = orv::leading_number(kernel_text(path, reason).value_or(""));
  return static_cast<int>(number < largest ? number : largest);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_mdinfo_from_sysblock(tag_mdinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  // Only the enclosures come from the disks: without them the arrays are read all the same.
  orv::scoped_list<tag_diskinfo_list> disks;
  orv::disk_places_get(disks.get());
  const disk_index by_name(disks.get(), &tag_disk_info::name);
  for (tag_md_info& md : orv::records(list)) {
    orv::set_text(md.disks, "");
    const std::string path = "/sys/block/" + std::string(orv::text_of(md.name)) + "/md";
    const orv::unique_directory directory(opendir(path.c_str()));
    if (!directory) {
      orv::log_failure(ORV_E_MD_SYSFS);
      std::printf("cannot open dir %s\n", path.c_str());
      return ORV_E_MD_SYSFS;
    }
    errno = read_array(directory.get(), path, by_name, md);
    if (errno != 0) return orv::log_failure(ORV_E_MD_SYSFS);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
