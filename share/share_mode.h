#ifndef ORV_SHARE_SHARE_MODE_H
#define ORV_SHARE_SHARE_MODE_H

#include <orv/share.h>

#include <span>
#include <string_view>

#include "common/text.h"
#include "share/share_paths.h"

namespace orv {

/// A share file with its reader and writer, and the word of the service that it belongs to.
struct share_mode {
  using transfer = int (*)(int fd, tag_shareconf_list* list);
  std::string_view word;
  const char* path;  ///< NULL when the service has no file
  transfer read;
  transfer write;
};

/// The appliance's own list of shares.
inline constexpr share_mode sharefolder{"", sharefolder_path, get_share_from_conf,
                                        put_share_to_conf};

/// Files of the services.
inline constexpr share_mode share_mode_table[] = {
    {"Samba", smb_path, get_share_from_smb, put_share_to_smb},
    {"CIFS", smb_path, get_share_from_smb, put_share_to_smb},
    {"Ftp", nullptr, get_share_from_ftp, put_share_to_ftp},
    {"Nfs", exports_path, get_share_from_nfs, put_share_to_nfs},
    {"Iscsi", ietd_path, get_share_from_ietd, put_share_to_ietd},
};

/// Files that keep the settings of shares out of use.
inline constexpr share_mode share_mode_recy_table[] = {
    {"Samba", smb_recy_path, get_share_from_smb, put_share_to_smb_recy},
    {"CIFS", smb_recy_path, get_share_from_smb, put_share_to_smb_recy},
    {"Nfs", exports_recy_path, get_share_from_nfs, put_share_to_nfs_recy},
};

/// The row of a service word, in any case; NULL when there is none.
inline const share_mode* find_mode(std::span<const share_mode> table, std::string_view word) {
  for (const share_mode& mode : table) {
    if (equal_ignoring_case(mode.word, word)) return &mode;
  }
  return nullptr;
}

}  // namespace orv

#endif
