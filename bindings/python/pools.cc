#include "bindings/python/families.h"
#include "bindings/python/functions.h"

namespace orv_python {
namespace {

const field<tag_pool_info> pool_fields[] = {
    text_field<&tag_pool_info::poolname>("device", "device path, '/dev/GROUP/POOL'"),
    text_field<&tag_pool_info::state>("state", "'available' or 'not available'"),
    size_field<&tag_pool_info::size, gib>("size", "bytes, in whole GiB"),
    text_field<&tag_pool_info::vgname>("volume_group", "group that it belongs to"),
    text_field<&tag_pool_info::enclosure>("enclosure", "of the group"),
};

using of_pool = parameter<"pool", text<sizeof(tag_pool_info::poolname)>>;
using of_group = parameter<"group", text<sizeof(tag_pool_info::vgname)>>;
using of_size = parameter<"size", bytes_in_gib>;

}  // namespace

void add_pools(py::module_& module) {
  declare<tag_pool_info>(module, "Pool", "One pool: a volume that carries one file system.",
                         pool_fields);

  define(module, "pool_list", turn::any, "The machine's pools.", query<orv::pool_list, pool_get>());
  define<of_pool, of_group, of_size>(module, "pool_create", turn::any,
                                     "Creates a pool of this size, a whole number of GiB.",
                                     change<pool_create>());
  define<of_pool, of_group, of_size>(
      module, "pool_extend", turn::any,
      "Makes a pool larger, to a new total size that the group must have free.",
      change<pool_extend>());
  define<of_pool, of_group>(module, "pool_destroy", turn::any,
                            "Removes a pool: all data on it is lost.", change<pool_destroy>());
  define<of_pool, of_group>(module, "pool_mkfs", turn::any,
                            "Makes the pool's file system: all data on the pool is lost.",
                            change<mkfs_pool>());
}

}  // namespace orv_python
