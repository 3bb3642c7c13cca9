#include "share/share_mode.h"

namespace {

/// The row of a mode on an open file; NULL when there is nothing to do.
const orv::share_mode* row_of(std::span<const orv::share_mode> table, int fd, const char* mode) {
  if (mode == nullptr || fd == -1) return nullptr;
  return orv::find_mode(table, mode);
}

int lock_row(int& fd, const orv::share_mode* row) {
  if (row == nullptr) return ORV_E_SHARE_MODE;
  fd = lock_sharefile(row->path);
  return fd;
}

}  // namespace

int get_share_from_mode(int fd, tag_shareconf_list* list, const char* mode) {
  const orv::share_mode* const row = row_of(orv::share_mode_table, fd, mode);
  return row == nullptr ? ORV_OK : row->read(fd, list);
}

int put_share_to_mode(int fd, tag_shareconf_list* list, const char* mode) {
  const orv::share_mode* const row = row_of(orv::share_mode_table, fd, mode);
  return row == nullptr ? ORV_OK : row->write(fd, list);
}

int put_share_to_mode_recy(int fd, tag_shareconf_list* list, const char* mode) {
  const orv::share_mode* const row = row_of(orv::share_mode_recy_table, fd, mode);
  return row == nullptr ? ORV_OK : row->write(fd, list);
}

int get_share_from_ftp(int /*fd*/, tag_shareconf_list* /*list*/) { return ORV_OK; }

int put_share_to_ftp(int /*fd*/, tag_shareconf_list* /*list*/) { return ORV_OK; }

int lock_modefile(int& fd, const char* mode) {
  return lock_row(fd, orv::find_mode(orv::share_mode_table, orv::text_or_empty(mode)));
}

int lock_mode_recyfile(int& fd, const char* mode) {
  return lock_row(fd, orv::find_mode(orv::share_mode_recy_table, orv::text_or_empty(mode)));
}
