#include <string>
#include <vector>

#include "bindings/python/families.h"
#include "bindings/python/functions.h"
#include "bindings/python/share_changes.h"

namespace orv_python {
namespace {

constexpr std::uint64_t use_unit = 10 * mib;

const field<tag_share_config> fields[] = {
    text_field<&tag_share_config::name>("name", "name of the share"),
    text_field<&tag_share_config::service>(
        "service", "'samba', 'nfs', 'ftp' or 'iSCSI', or several with commas; empty out of use"),
    text_field<&tag_share_config::path>("path", "directory, or backing file of an iSCSI volume"),
    text_field<&tag_share_config::comment>("comment", "free text"),
    items_field<&tag_share_config::valid_users>("users", "users; of an NFS share its clients"),
    flag_field<&tag_share_config::writable>("writable", "False when clients may only read"),
    size_field<&tag_share_config::size, gib>("size", "bytes, in whole GiB"),
    size_field<&tag_share_config::used, use_unit>("used", "bytes, in units of 10 MiB"),
    text_field<&tag_share_config::status>("status", "'N.A.'; not interpreted"),
};

using of_name = parameter<"name", share_name>;
using of_service = parameter<"service", service>;
using listed_service = parameter<"service", maybe<service>, "None">;
using new_comment = parameter<"comment", maybe<share_comment>, "None">;
using new_users = parameter<"users", maybe<share_users>, "None">;
using new_right = parameter<"writable", maybe<flag>, "None">;

void add_changes(py::module_& module) {
  define<of_name, of_service, parameter<"path", share_path>, parameter<"size", bytes_in_gib, "0">,
         new_comment, new_users, new_right>(
      module, "share_add", turn::shares,
      "Offers a directory, or a volume over iSCSI. Users and rights of the service's other shares\n"
      "stay what they are. NFS knows a share by the last part of its path, which its name must "
      "be;\n"
      "an FTP share has no users and rights of its own.",
      share_add_safely);
  define<of_name, listed_service, new_comment, new_users, new_right>(
      module, "share_modify", turn::shares,
      "Changes comment, users or right of a share; what is None stays as it is.",
      share_modify_safely);
  define<of_name, listed_service>(module, "share_delete", turn::shares,
                                  "Removes a share; the files in it stay.", share_delete_safely);
}

void add_recycling(py::module_& module) {
  define<of_name>(module, "share_disable", turn::shares,
                  "Takes a share out of use and keeps its settings. The directory of an FTP share\n"
                  "is unmounted, and its mount point is removed.",
                  share_disable_safely);
  define<of_name, of_service, new_comment, new_users, new_right>(
      module, "share_enable", turn::shares,
      "Takes a share into use again, with the settings kept of it. NFS keeps no right: say "
      "whether\n"
      "the share is to be writable.",
      share_enable_safely);
  define<of_name>(module, "share_forget", turn::shares,
                  "Removes a share that is out of use, and the settings kept of it.",
                  share_forget_safely);
  define(module, "recycle_list", turn::shares,
         "The shares that are out of use, with their former service where that is kept.",
         shares_out_of_use);
}

}  // namespace

void add_shares(py::module_& module) {
  declare<tag_share_config>(module, "Share", "One share.", fields);

  define(module, "share_list", turn::shares, "All shares, and the volumes of the iSCSI target.",
         query<orv::share_list, share_get>());
  add_changes(module);
  add_recycling(module);
}

}  // namespace orv_python
