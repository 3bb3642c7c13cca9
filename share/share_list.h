#ifndef ORV_SHARE_SHARE_LIST_H
#define ORV_SHARE_SHARE_LIST_H

#include <orv/share.h>

#include <string_view>

#include "common/families.h"

namespace orv {

// The changes of a list throw `std::bad_alloc` without memory, and the list stays as it was: what
// lacks a share for want of memory must not be written, nor told as a share that exists or is
// missing.

/// Appends a share with the name, path, comment, service, users and rights of another one.
/// @return the new record
tag_share_config& append_copy(tag_shareconf_list* list, const tag_share_config& share);

/// `add_share_to_sharelist`. @return false when the list has a share of this name
bool add_share(tag_shareconf_list* list, const tag_share_config& share);

/// `mod_share_to_sharelist`. @return false when the share was missing, and is appended
bool mod_share(tag_shareconf_list* list, const tag_share_config& share);

/// `mod_recy_list`. @return false when the share was missing, and is appended
bool mod_parked_share(tag_shareconf_list* list, const tag_share_config& share);

/// Appends a user to a share's list, unless it would have to be cut: half a name is another user.
void append_user(tag_share_config& share, std::string_view user);

/// A name as iSCSI shares are compared by: up to the first ".", where the time stamp begins.
std::string_view without_stamp(std::string_view name);

/// True when a share's service is this one word, in any case. A share of several services has none
/// of them in this sense.
bool has_service(const tag_share_config& share, std::string_view word);

/// True for an iSCSI volume.
bool is_iscsi(const tag_share_config& share);

}  // namespace orv

#endif
