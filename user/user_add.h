#ifndef ORV_USER_USER_ADD_H
#define ORV_USER_USER_ADD_H

struct tag_user_info;

namespace orv {

/// Refuses, and logs, a name or password that the commands and account files cannot hold.
/// @return ORV_OK or ORV_E_COMMAND
int check_request(const tag_user_info& user);

}  // namespace orv

#endif
