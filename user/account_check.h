#ifndef ORV_USER_ACCOUNT_CHECK_H
#define ORV_USER_ACCOUNT_CHECK_H

struct tag_user_info;

namespace orv {

/// Looks whether the system's account files have room for a new user; nothing is changed.
/// @return ORV_OK; ORV_E_PASSWD_FILE, ORV_E_LOGIN_USED, ORV_E_GROUP_USED or ORV_E_NO_UID
int check_account(const tag_user_info& user);

}  // namespace orv

#endif
