#ifndef ORV_SHARE_SHARE_PATHS_H
#define ORV_SHARE_SHARE_PATHS_H

namespace orv {

inline constexpr char sharefolder_path[] = "/etc/sharefolder.conf";
inline constexpr char smb_path[] = "/etc/samba/smb.conf";
inline constexpr char smb_recy_path[] = "/etc/samba/smb_recy.conf";
inline constexpr char exports_path[] = "/etc/exports";
inline constexpr char exports_recy_path[] = "/etc/exports_recy";
inline constexpr char ietd_path[] = "/etc/ietd.conf";

}  // namespace orv

#endif
