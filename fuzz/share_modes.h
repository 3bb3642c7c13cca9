#ifndef ORV_FUZZ_SHARE_MODES_H
#define ORV_FUZZ_SHARE_MODES_H

#include <orv/share.h>

#include "share/share_change.h"

namespace fuzz {

/// The share files, each with its reader and its writer.
enum file_number { conf, smb, smb_recy, nfs, nfs_recy, ietd, file_count };

inline constexpr orv::share_mode files[file_count] = {
    {"", orv::sharefolder_path, get_share_from_conf, put_share_to_conf},
    {"", orv::smb_path, get_share_from_smb, put_share_to_smb},
    {"", orv::smb_recy_path, get_share_from_smb, put_share_to_smb_recy},
    {"", orv::exports_path, get_share_from_nfs, put_share_to_nfs},
    {"", orv::exports_recy_path, get_share_from_nfs, put_share_to_nfs_recy},
    {"", orv::ietd_path, get_share_from_ietd, put_share_to_ietd},
};

}  // namespace fuzz

#endif
