#include <orv/fs.h>
#include <orv/support.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "common/command.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/models.h"
#include "common/own_lock.h"
#include "common/replacement_file.h"
#include "common/text.h"
#include "common/whole_file.h"
#include "fs/mdfstab_file.h"
#include "fs/mdfstab_line.h"

namespace {

int log_add_failure() { return orv::log_mdfstab_failure(ORV_E_MOUNT_TABLE); }

int log_delete_failure() {
  return orv::log_mdfstab_failure(ORV_E_MOUNT_TABLE, "/etc/mdfstab or tmpfile");
}

/// True when some line's second word is the mount point. A comment line counts: an entry that was
/// put out of use keeps its mount point.
bool is_listed(std::string_view table, std::string_view mountpoint) {
  for (const std::string_view line : orv::split(table, "\n")) {
    if (orv::mdfstab_key_of(line) == mountpoint) return true;
  }
  return false;
}

/// Appends to a file opened for appending: all of the text or, with `errno`, nothing.
bool append_text(int file, const std::string& text) {
  struct stat before {};
  if (fstat(file, &before) != 0) return false;
  const ssize_t written = write(file, text.data(), text.size());
  if (written == static_cast<ssize_t>(text.size())) return true;
  const int error = written < 0 ? errno : ENOSPC;
  if (written > 0 && ftruncate(file, before.st_size) != 0) return false;
  errno = error;
  return false;
}

/// Of the changes of the table: two processes never lose each other's entry.
constexpr std::string_view table_lock = "mdfstab";

int append_line(std::string_view mountpoint, const std::string& line) {
  const orv::own_lock lock(table_lock);
  if (!lock) return log_add_failure();
  const orv::unique_file file(std::fopen(orv::mdfstab_path, "a+e"));
  std::string table;
  if (!file || !orv::read_rest(file.get(), table)) return log_add_failure();
  if (is_listed(table, mountpoint)) return ORV_E_FAILED;
  const bool line_is_open = !table.empty() && table.back() != '\n';
  const std::string addition = (line_is_open ? "\n" : "") + line + '\n';
  return append_text(fileno(file.get()), addition) ? ORV_OK : log_add_failure();
}

struct remaining_table {
  std::string text;
  bool lost_an_entry = false;
};

/// The table without the entries of a mount point. Comment lines and empty lines go too, and what
/// stays is trimmed.
remaining_table without(std::string_view table, std::string_view mountpoint) {
  remaining_table remaining;
  for (const std::string_view line : orv::split(table, "\n")) {
    const std::string_view kept = orv::trimmed(line);
    if (kept.empty() || kept.starts_with('#')) continue;
    if (orv::mdfstab_key_of(kept) == mountpoint) {
      remaining.lost_an_entry = true;
    } else {
      remaining.text.append(kept) += '\n';
    }
  }
  return remaining;
}

/// Whether the table still has this text; false, too, when it cannot be read.
bool still_holds(const std::string& text) try {
  std::string table;
  struct stat examined {};
  return orv::read_file(orv::mdfstab_path, table, examined) && table == text;
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace

int add_mdfstab(const char* mountpoint, const char* vgname, const char* poolname) try {
  const std::string_view key = orv::text_or_empty(mountpoint);
  const std::string_view group = orv::text_or_empty(vgname);
  const std::string_view pool = orv::text_or_empty(poolname);
  if (!key.starts_with('/') || group.empty() || pool.empty()) return orv::log_missing_argument();
  const int result = append_line(key, orv::mdfstab_line(key, group, pool, orv::file_system_type()));
  if (result == ORV_OK) conf_save(orv::mdfstab_path);
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int del_mdfstab(const char* mountpoint) try {
  const orv::own_lock lock(table_lock);
  if (!lock) return log_delete_failure();
  orv::replacement_file rewritten("/tmp/mdfstab.XXXXXX");
  std::string table;
  struct stat original {};
  if (!rewritten.exists() || !orv::read_file(orv::mdfstab_path, table, original))
    return log_delete_failure();
  const remaining_table remaining = without(table, orv::text_or_empty(mountpoint));
  if (!rewritten.write(remaining.text)) return log_delete_failure();
  if (remaining.lost_an_entry) {
    if (!rewritten.complete(original)) return log_delete_failure();
    const int result = orv::run(orv::command("mv %s /etc/mdfstab > /dev/null", rewritten.path()));
    if (result != ORV_OK) {
      // From one file system to another `mv` copies: it may have removed or cut the table before it
      // failed, and then the entries are here, and in the kept copy, only.
      if (!still_holds(table)) rewritten.leave();
      return result;
    }
  }
  // When nothing matched, the temporary file stays in /tmp.
  rewritten.leave();
  conf_save(orv::mdfstab_path);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
