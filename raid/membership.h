#ifndef ORV_RAID_MEMBERSHIP_H
#define ORV_RAID_MEMBERSHIP_H

#include <orv/raid.h>

namespace orv {

/// Answer to the question whether disks are in use. A change trusts it only when the lists it was
/// found in could be read.
struct membership {
  int code;    ///< ORV_OK, or the code of the list that could not be read
  bool found;  ///< true when one of the disks is in what could be read
};

/// Is a member of the record a global hot spare? A member that is not listed any more is no
/// disk that may be wiped: ORV_E_NO_DISK.
membership spare_among_members(const tag_md_info& md);

/// Is a member or spare of the record a physical volume of some volume group?
membership physical_volume_among_disks(const tag_md_info& md);

}  // namespace orv

#endif
