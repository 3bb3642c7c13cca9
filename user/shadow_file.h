#ifndef ORV_USER_SHADOW_FILE_H
#define ORV_USER_SHADOW_FILE_H

#include <string_view>

namespace orv {

/// Gives every line of a name in the shadow file a new password hash. The old file is kept with "-"
/// at the end of its name; the new one takes its place when it is complete and on the disk.
/// @return ORV_OK, or one of the codes ORV_E_NO_SHADOW to ORV_E_SHADOW_RENAME: the file is
/// unchanged
int set_password_hash(std::string_view name, std::string_view hash);

}  // namespace orv

#endif
