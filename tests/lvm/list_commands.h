#ifndef ORV_TESTS_LVM_LIST_COMMANDS_H
#define ORV_TESTS_LVM_LIST_COMMANDS_H

#include <string>
#include <vector>

/// The command lines with which the lists are built; those of arrays are for a machine without any.
namespace list_commands {

using lines = std::vector<std::string>;

inline lines join(lines first, const lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

inline lines disks() {
  return {"cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX",
          "/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX"};
}

inline lines arrays() {
  const lines mdstat = {"cat /proc/mdstat > /tmp/mdstat.XXXXXX"};
  return join(join(mdstat, disks()), mdstat);
}

inline lines groups() {
  return join(
      {"/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX", "/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX"},
      join(arrays(), disks()));
}

inline lines pools() { return join({"/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX "}, groups()); }

}  // namespace list_commands

#endif
