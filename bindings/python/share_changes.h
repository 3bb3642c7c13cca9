#ifndef ORV_PYTHON_SHARE_CHANGES_H
#define ORV_PYTHON_SHARE_CHANGES_H

#include <orv/scoped.h>

#include <vector>

#include "bindings/python/arguments.h"

/// Changes of shares that leave the other shares of the service as they are: the library rewrites a
/// service's file from what it knows, which is less than the file holds.

namespace orv_python {

using share_name = text<sizeof(tag_share_config::name)>;
using share_path = text<sizeof(tag_share_config::path)>;
using share_comment = text<sizeof(tag_share_config::comment)>;
using share_users = words<sizeof(tag_share_config::valid_users)>;

void share_add_safely(const share_name& name, const service& by, const share_path& path,
                      const bytes_in_gib& size, const maybe<share_comment>& comment,
                      const maybe<share_users>& users, const maybe<flag>& writable);
void share_modify_safely(const share_name& name, const maybe<service>& by,
                         const maybe<share_comment>& comment, const maybe<share_users>& users,
                         const maybe<flag>& writable);
void share_delete_safely(const share_name& name, const maybe<service>& by);
void share_disable_safely(const share_name& name);
void share_enable_safely(const share_name& name, const service& by,
                         const maybe<share_comment>& comment, const maybe<share_users>& users,
                         const maybe<flag>& writable);
void share_forget_safely(const share_name& name);

/// What the recycle files keep, and what only "/etc/sharefolder.conf" lists.
std::vector<tag_share_config> shares_out_of_use();

}  // namespace orv_python

#endif
