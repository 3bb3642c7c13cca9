#ifndef ORV_USER_USER_FILE_H
#define ORV_USER_USER_FILE_H

#include <string_view>

struct tag_user_info_list;

namespace orv {

/// Appends the users of the user file to a list for a change of that file: a missing file has none.
/// @return ORV_OK or ORV_E_USER_FILE
int read_users_to_change(tag_user_info_list* list);

/// Rewrites the user file in place. @return ORV_OK or ORV_E_USER_FILE; then it stays as it was
int write_users(tag_user_info_list* list);

/// Appends a user to a list. @return false without memory
bool append_user(tag_user_info_list* list, std::string_view name, std::string_view password);

}  // namespace orv

#endif
