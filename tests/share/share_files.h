#ifndef ORV_TESTS_SHARE_SHARE_FILES_H
#define ORV_TESTS_SHARE_SHARE_FILES_H

/// The files of the shares, as the services of an appliance expect them.
inline constexpr char shares_path[] = "/etc/sharefolder.conf";
inline constexpr char smb_path[] = "/etc/samba/smb.conf";
inline constexpr char smb_recy_path[] = "/etc/samba/smb_recy.conf";
inline constexpr char exports_path[] = "/etc/exports";
inline constexpr char exports_recy_path[] = "/etc/exports_recy";
inline constexpr char ietd_path[] = "/etc/ietd.conf";

#endif
