/// The appliance on which every exported function is driven against faults.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "tests/sandbox/sandbox.h"

namespace faults {

/// What a file holds, with its mode. Directories hold nothing.
using files = std::map<std::string, std::string>;

/// Stands before the name of a file in that of its companion, among the files of a world.
inline constexpr std::string_view companions = "companion of ";

/// An appliance with disks, arrays, a volume group with a pool, shares of every service, a user and
/// sensors:
///  - sda, sdb and sdc are the raid5 md0, which carries the group vg1 with the pool "data", mounted
///  on
///    /mnt/data; sdc has failed; the raid1 md1 of sdd and sde carries nothing;
///  - sdf and sdg are free, sdh is a hot spare; the group vg2 without pools lies on md2.
class world {
 public:
  explicit world(const std::string& model = "KTA7120X");

  sandbox::machine machine;

  /// A tool that succeeds at whatever it is asked to change.
  void changers(const sandbox::lines& paths);
  /// Another disk of the RAID controller's model.

  /// All files but those of the kernel and of the sandbox. The random part of the names of
  /// temporary files reads XXXXXX.
  files all_files() const;

 private:
  void put_disks();
  void put_arrays();
  void put_volumes();
  void put_shares();
  void put_services();
  void put_accounts();
  void put_state();
};

}  // namespace faults
