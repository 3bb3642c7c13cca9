#include "share/share_change.h"

#include <unistd.h>

#include <cerrno>

#include "common/log.h"
#include "common/text.h"
#include "share/share_text.h"

namespace orv {
namespace {

void store_name(tag_share_config& share) {
  set_text(share.name, stored_name(text_of(share.name), text_of(share.service)));
}

}  // namespace

locked_files::~locked_files() {
  const int reason = errno;
  for (std::size_t i = 0; i < count_; ++i) {
    unlock_file(files_[i]);
    close(files_[i]);
  }
  errno = reason;
}

int locked_files::lock(const char* path) {
  const int file = lock_sharefile(path);
  if (file >= 0) files_.at(count_++) = file;
  return file;
}

int share_file::open(int not_locked) {
  if (row_ == nullptr || row_->path == nullptr) {
    errno = EINVAL;
    return not_locked;
  }
  file_ = locks_.lock(row_->path);
  if (file_ < 0) return not_locked;
  if (row_->read(file_, shares_.get()) != ORV_OK) return ORV_E_SHARES_READ;
  store_names(shares_.get());
  return ORV_OK;
}

bool is_request(const tag_share_config* share) {
  if (share == nullptr) return false;
  const std::string name = stored_name(text_of(share->name));
  const share_mode* const row = find_mode(share_mode_table, text_of(share->service));
  const bool is_for_samba = row != nullptr && row->read == get_share_from_smb;
  return !name.empty() && !(is_for_samba && is_global_to_samba(name));
}

tag_share_config as_stored(const tag_share_config& share) {
  tag_share_config request = share;
  store_name(request);
  return request;
}

void store_names(tag_shareconf_list* list) {
  for (tag_share_config& share : records(list)) store_name(share);
}

std::optional<parking_request> take_request(tag_share_config* share) {
  if (share == nullptr) return std::nullopt;
  const tag_share_config asked = *share;
  set_text(share->service, "");
  if (!is_request(&asked)) return std::nullopt;
  parking_request request{as_stored(asked), std::string(text_of(asked.service))};
  set_text(request.share.service, "");
  return request;
}

int finish(int result, const char* function, int line) {
  if (result == ORV_OK) return ORV_OK;
  if (result == ORV_E_SHARE_EXISTS) errno = EEXIST;
  if (result == ORV_E_NO_SHARE) errno = ENOENT;
  return log_failure(result, function, line);
}

}  // namespace orv
