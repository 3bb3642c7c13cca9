#include <orv/fs.h>

#include <fcntl.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "fs/write_probes.h"

namespace {

constexpr std::string_view not_available = "not available";

/// What a file system holds, in MiB.
struct usage {
  uint64_t size;
  uint64_t used;

  bool is_full() const { return size <= used + 1; }
};

/// Blocks reserved for the superuser count as used. Blocks of less than 1 KiB count as nothing.
usage usage_of(const struct statfs64& figures) {
  const uint64_t kib_per_block = static_cast<uint64_t>(figures.f_bsize) / 1024;
  const uint64_t total = figures.f_blocks;
  // A file system that tells of more is not used below nothing, which would be exabytes.
  const uint64_t available = std::min<uint64_t>(total, figures.f_bavail);
  return {.size = (total * kib_per_block) >> 10,
          .used = ((total - available) * kib_per_block) >> 10};
}

/// Makes a new file in a directory and completes its path. A file, link or directory named "test"
/// that is there already belongs to a user: another name is taken then.
int make_probe_file(std::string& path) {
  path += "/test";
  const int file =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file >= 0 || errno != EEXIST) return file;
  path += ".XXXXXX";
  return mkostemp(path.data(), O_CLOEXEC);
}

bool is_writable(const std::string& directory) {
  constexpr char content[] = "test fs";
  std::string path = directory;
  const int file = make_probe_file(path);
  if (file < 0) return false;
  const bool written = write(file, content, sizeof content) == sizeof content;
  close(file);
  unlink(path.c_str());
  return written;
}

std::optional<usage> usage_at(const std::string& mountpoint) {
  struct statfs64 figures {};
  if (statfs64(mountpoint.c_str(), &figures) != 0) return std::nullopt;
  return usage_of(figures);
}

void measure(tag_fs_info& fs, orv::probe made) {
  const std::string mountpoint(orv::text_of(fs.mountpoint));
  if (mountpoint.empty()) {
    std::printf("filesystem %s cannot statfs\n", mountpoint.c_str());
    return;
  }
  const std::optional<usage> found = usage_at(mountpoint);
  if (!found) return orv::set_text(fs.state, not_available);
  fs.size = found->size;
  fs.used = found->used;
  if (found->is_full()) return;
  const bool is_fine =
      made == orv::probe::not_made ? is_writable(mountpoint) : made == orv::probe::written;
  if (!is_fine) orv::set_text(fs.state, not_available);
}

/// As `measure` would probe it.
orv::probe probe_at(const std::string& mountpoint) {
  if (mountpoint.empty()) return orv::probe::not_made;
  const std::optional<usage> found = usage_at(mountpoint);
  if (!found || found->is_full()) return orv::probe::not_made;
  return is_writable(mountpoint) ? orv::probe::written : orv::probe::failed;
}

}  // namespace

namespace orv {

write_probes::write_probes(tag_fsinfo_list* list) : list_(list), made_(count(list)) {}

void write_probes::make() noexcept try {
  auto made = made_.begin();
  for (const tag_fs_info& fs : records(list_))
    *made++ = probe_at(std::string(text_of(fs.mountpoint)));
} catch (const std::bad_alloc&) {
  // What is left is probed when it is measured.
}

void write_probes::measure_file_systems() const {
  auto made = made_.begin();
  for (tag_fs_info& fs : records(list_)) measure(fs, *made++);
}

}  // namespace orv

int get_usedsize_from_df(tag_fsinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  for (tag_fs_info& fs : orv::records(list)) measure(fs, orv::probe::not_made);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
