#include <string>

#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_index.h"
#include "share/share_text.h"

/// The recycle files, which keep the settings of shares out of use.

namespace {

orv::share_mode samba_at(const char* path) {
  return {"Samba", path, get_share_from_smb, put_share_to_smb_recy};
}

orv::share_mode nfs_at(const char* path) {
  return {"Nfs", path, get_share_from_nfs, put_share_to_nfs_recy};
}

int read_parked(const orv::share_mode& file, tag_shareconf_list* list) {
  orv::locked_files locks;
  const int descriptor = locks.lock(file.path);
  if (descriptor < 0) return ORV_E_SERVICE_LOCKED;
  return file.read(descriptor, list) == ORV_OK ? ORV_OK : ORV_E_SHARES_READ;
}

/// The file is rewritten also when the share is not there. No share is called by an empty name:
/// what was read without one, such as an export of "/mnt/a/", stays.
int remove_parked(const orv::share_mode& file, const char* name) {
  const std::string stored = orv::stored_name(orv::text_or_empty(name));
  orv::locked_files locks;
  orv::share_file parked(&file, locks);
  const int opened = parked.open(ORV_E_SERVICE_LOCKED);
  if (opened != ORV_OK) return opened;
  const bool is_removed =
      !stored.empty() && del_share_to_sharelist(stored.c_str(), parked.list()) == ORV_OK;
  if (parked.write() != ORV_OK) return ORV_E_SERVICE_WRITE;
  return is_removed ? ORV_OK : ORV_E_NO_SHARE;
}

/// A share that is parked for NFS only is not in the Samba file.
int remove_from_both(const char* name) {
  const int result = remove_parked(samba_at(orv::smb_recy_path), name);
  if (result != ORV_OK && result != ORV_E_NO_SHARE) return result;
  return remove_parked(nfs_at(orv::exports_recy_path), name);
}

int complete_from_recycle_files(tag_shareconf_list* list) {
  orv::scoped_list<tag_shareconf_list> parked;
  int result = read_parked(samba_at(orv::smb_recy_path), parked.get());
  if (result == ORV_OK) result = read_parked(nfs_at(orv::exports_recy_path), parked.get());
  if (result != ORV_OK) return result;
  orv::store_names(parked.get());
  const orv::share_index by_name(parked.get(), &tag_share_config::name);
  for (tag_share_config& share : orv::records(list)) {
    if (!orv::text_of(share.service).empty()) continue;
    const tag_share_config* const match = by_name.find(orv::text_of(share.name));
    if (match == nullptr) continue;
    share.writable = match->writable;
    orv::set_text(share.valid_users, orv::text_of(match->valid_users));
  }
  return ORV_OK;
}

}  // namespace

int read_samba_recy(const char* path, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  return orv::finish(read_parked(samba_at(path), list));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int read_nfs_recy(const char* path, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  return orv::finish(read_parked(nfs_at(path), list));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int samba_recy_del(const char* path, const char* name, const char* /*word*/) try {
  return orv::finish(remove_parked(samba_at(path), name));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int nfs_recy_del(const char* path, const char* name, const char* /*word*/) try {
  return orv::finish(remove_parked(nfs_at(path), name));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int share_recy_del(const char* name) try {
  return orv::finish(remove_from_both(name));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_shareinfo_from_recy(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  return orv::finish(complete_from_recycle_files(list));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
