#ifndef ORV_SHARE_REWRITE_H
#define ORV_SHARE_REWRITE_H

#include <orv/share.h>
#include <sys/types.h>

#include <functional>
#include <string_view>

#include "common/secret_text.h"

namespace orv {

/// Appends one share to the text of its file.
using append_share_form = std::function<void(secret_text& text, const tag_share_config& share)>;

/// What a file says of the shares of a list.
secret_text text_of_shares(tag_shareconf_list* list, const append_share_form& append_share);

/// Replaces all that stands in a share file from `start` on, in place, and commits the file;
/// `companion` says how it stays whole. A text with a line that its reader would take for two is
/// not written.
/// @param committed  path of the file to commit
/// @return ORV_OK or, with `errno`, ORV_E_SHARE_WRITE
int rewrite_from(int file, off_t start, std::string_view text, const char* committed);

/// Replaces the content of a share file by the shares of a list, in the same way.
/// @return also ORV_E_FAILED for a NULL list
int rewrite(int file, tag_shareconf_list* list, const append_share_form& append_share,
            const char* committed, const char* function = __builtin_FUNCTION(),
            int line = __builtin_LINE());

}  // namespace orv

#endif
