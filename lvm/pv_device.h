#ifndef ORV_LVM_PV_DEVICE_H
#define ORV_LVM_PV_DEVICE_H

#include <string>
#include <string_view>

struct tag_diskinfo_list;

namespace orv {

/// The device name of the disk that a channel names. Empty when the channel does not name exactly
/// one disk of the enclosure, or when that disk has no device name (model KTA7120U). Disks count,
/// not channels: "1,9" names the disk in bay 1 while bay 9 is empty.
std::string device_of_channel(tag_diskinfo_list* disks, std::string_view channel,
                              const char* enclosure);

}  // namespace orv

#endif
