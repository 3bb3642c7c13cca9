#include "tools/orvctl/fs_table.h"

#include <limits>
#include <string>

namespace orvctl {
namespace {

// How full it is, as `df` says it: a part of a percent counts as one.
json used_share(const tag_fs_info& fs) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max() / 100;
  if (fs.size == 0 || fs.used > fs.size || fs.used > most) return {};
  return std::to_string((fs.used * 100 + fs.size - 1) / fs.size) + "%";
}

constexpr column<tag_fs_info> fs_columns[] = {
    {"MOUNT POINT", "mount_point", form::text,
     [](const tag_fs_info& fs) { return text_value(fs.mountpoint); }},
    {"STATE", "state", form::state, [](const tag_fs_info& fs) { return text_value(fs.state); }},
    {"TYPE", "type", form::text, [](const tag_fs_info& fs) { return text_value(fs.fstype); }},
    {"SIZE", "size_bytes", form::mib, [](const tag_fs_info& fs) { return mib_value(fs.size); }},
    {"USED", "used_bytes", form::mib, [](const tag_fs_info& fs) { return mib_value(fs.used); }},
    {"USE", nullptr, form::number, used_share},
    {"GROUP", "volume_group", form::text,
     [](const tag_fs_info& fs) { return text_value(fs.vgname); }},
    {"ENCLOSURE", "enclosure", form::number,
     [](const tag_fs_info& fs) { return text_value(fs.enclosure); }},
    {"DEVICE", "device", form::text, [](const tag_fs_info& fs) { return text_value(fs.devname); }},
};

}  // namespace

table fs_table(const fs_list& systems) { return make_table(fs_columns, systems); }

}  // namespace orvctl
