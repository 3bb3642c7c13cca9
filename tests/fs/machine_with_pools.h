#ifndef ORV_TESTS_FS_MACHINE_WITH_POOLS_H
#define ORV_TESTS_FS_MACHINE_WITH_POOLS_H

#include <string>

#include "tests/fs/file_systems.h"

/// A machine with the group vg1 on the first disk of the expansion enclosure 2. It holds the pools
/// "data", of 10 GiB, and "cold", of 4 GiB, which is not active.
class pools_test : public fs_test {
 protected:
  static constexpr char two_pools[] =
      "  /dev/vg1/data:vg1:3:1:-1:1:20971520:2560:-1:0:-1:253:0\n"
      "  /dev/vg1/cold:vg1:3:0:-1:0:8388608:1024:-1:0:-1:253:1\n";

  pools_test() {
    machine.tool("cat").is_real();
    machine.file("/proc/mdstat", "Personalities : [raid5]\nunused devices: <none>\n");
    machine.file("/proc/scsi/mvSata/0",
                 "Driver\nHost\nChip\nFirmware\nPCI location: bus 2, slot 1\nPorts\nLink\nQueue\n"
                 "No Port Unit Type Link Feature Depth Mode State Device\n"
                 "0 4 0 disk 3.0Gb/s NCQ 32 UDMA6 online *sda\n");
    machine.tool("/usr/local/bin/hotspare")
        .on("--list")
        .prints("Global hotspare disk:\n")
        .if_asked();
    machine.tool("/sbin/vgdisplay")
        .on("-c")
        .prints("  vg1:r/w:772:-1:0:2:0:-1:0:1:1:104853504:4096:25599:3584:22015:u\n")
        .if_asked();
    machine.tool("/sbin/pvdisplay")
        .on("-c")
        .prints("  /dev/sda:vg1:209715200:-1:8:8:-1:4096:25599:22015:3584:u\n")
        .if_asked();
    mounts("rootfs / rootfs rw 0 0\n");
  }

  sandbox::answer& lvdisplay() { return machine.tool("/sbin/lvdisplay").on("-c"); }
  void mounts(std::string_view text) { machine.file("/proc/mounts", text); }
};

#endif
