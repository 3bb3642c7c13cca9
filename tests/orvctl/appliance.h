#ifndef ORV_TESTS_ORVCTL_APPLIANCE_H
#define ORV_TESTS_ORVCTL_APPLIANCE_H

#include <filesystem>
#include <string>
#include <vector>

#include "tests/orvctl/command_line.h"
#include "tests/sandbox/sandbox.h"

/// An appliance with four disks in the channels 1 to 4 of enclosure 1, which orvctl manages:
///  - sda, sdb and sdc are the raid5 md0, which carries the volume group vg1 with the pool "data"
///    mounted on /mnt/data;
///  - the raid1 md1 is rebuilt; its disks sde and sdf sit in no bay;
///  - sdd is a hot spare.
class appliance : public sandbox_test {
 protected:
  appliance() {
    machine.tool("cat").is_real();
    machine.file("/etc/sys_info", "[product]\ntype=KTA7120X\n");
    put_disks();
    put_arrays();
    put_volumes();
    machine.file("/etc/mdfstab", "/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0\n");
    machine.file("/proc/mounts", "/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n");
    machine.directory("/mnt/data");
    machine.statfs("/mnt/data", {4096, 2621440, 1048576});
  }

  /// A command line without blanks in its words, as run by a script.
  static outcome orvctl(const std::string& words) { return run(split(words), "", false); }
  /// The same at a terminal, where the user types an answer.
  static outcome at_terminal(const std::string& words, const std::string& typed) {
    return run(split(words), typed, true);
  }

  /// What the shell was given besides questions.
  sandbox::lines changes() const {
    sandbox::lines all;
    for (const std::string& command : machine.commands()) {
      if (command.find("> /tmp/") == std::string::npos) all.push_back(command);
    }
    return all;
  }

  /// Members of an array, in the order in which the kernel's directory lists them.
  static std::string members(const std::string& array) {
    std::string names;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/block/" + array + "/md")) {
      const std::string name = entry.path().filename();
      if (name.starts_with("dev-")) names += (names.empty() ? "" : ",") + name.substr(4);
    }
    return names;
  }

  /// What a tool says from now on: "spares", "groups", "volumes", "pools", or an array's details.
  void tell(const std::string& file, const std::string& text) {
    machine.file("/told/" + file, text);
  }
  /// From now on the tool says this and fails, with exit code 1.
  void fail_to_tell(const std::string& file) { tell(file + ".fails", ""); }

  /// A tool that changes something and succeeds.
  void changer(const char* path) { machine.tool(path).succeeds(); }

 private:
  void put_disks() {
    std::string driver = "Marvell SATA host adapter driver\nPCI location: bus 2, slot 1\n";
    for (int line = 2; line < 9; ++line) driver += "-\n";
    for (const char* unit : {"0 *sda", "1 *sdb", "2 *sdc", "3 *sdd"}) {
      driver +=
          std::string("0 0 ") + unit[0] + " disk 3.0Gb/s NCQ 32 UDMA6 online " + (unit + 2) + "\n";
    }
    machine.file("/proc/scsi/mvSata/0", driver);
    for (const std::string disk : {"sda", "sdb", "sdc", "sdd"}) {
      machine.file("/sys/block/" + disk + "/size", "1953525168\n");
      machine.file("/sys/block/" + disk + "/device/state", "running\n");
      machine.file("/sys/block/" + disk + "/device/model", "ST31000340NS    \n");
    }
    tell("spares", "Global hotspare disk: sdd\n");
    machine.tool("/usr/local/bin/hotspare").on("--list").runs(show("spares")).if_asked();
  }

  void put_arrays() {
    machine.file(
        "/proc/mdstat",
        "Personalities : [raid6] [raid5] [raid4] [raid1]\n"
        "md0 : active raid5 sdc[2] sdb[1] sda[0]\n"
        "      1953259520 blocks super 1.2 level 5, 512k chunk [3/3] [UUU]\n"
        "      \n"
        "md1 : active raid1 sde[2] sdf[1]\n"
        "      976629760 blocks super 1.2 [2/1] [_U]\n"
        "      [==>..................]  recovery = 12.6% (1/8) finish=3min speed=49152K/sec\n"
        "      \n");
    tell("md0",
         "/dev/md0:\n        Raid Level : raid5\n"
         "        Array Size : 1953259520 (1862.77 GiB 2000.14 GB)\n"
         "             State : clean \n");
    tell("md1",
         "/dev/md1:\n        Raid Level : raid1\n"
         "        Array Size : 976629760 (931.39 GiB 1000.07 GB)\n"
         "             State : clean, degraded, recovering \n");
    machine.tool("/sbin/mdadm").on("--detail ...").runs(show("${2##*/}")).if_asked();
    put_members("md0", {"sda", "in_sync", "sdb", "in_sync", "sdc", "in_sync"});
    put_members("md1", {"sde", "spare", "sdf", "in_sync"});
  }

  void put_members(const std::string& array, const std::vector<std::string>& members) {
    const std::string directory = "/sys/block/" + array + "/md/";
    machine.file(directory + "raid_disks", std::to_string(members.size() / 2) + "\n");
    for (std::size_t i = 0; i < members.size(); i += 2) {
      machine.file(directory + "dev-" + members[i] + "/state", members[i + 1] + "\n");
    }
  }

  void put_volumes() {
    tell("groups", "  vg1:r/w:772:-1:0:1:1:-1:0:1:1:1953255424:4096:476869:128000:348869:u\n");
    tell("volumes", "  /dev/md0:vg1:3906519040:-1:8:8:-1:4096:476869:348869:128000:u\n");
    tell("pools", "  /dev/vg1/data:vg1:3:1:-1:1:1048576000:128000:-1:0:-1:253:0\n");
    machine.tool("/sbin/vgdisplay").on("-c").runs(show("groups")).if_asked();
    machine.tool("/sbin/pvdisplay").on("-c").runs(show("volumes")).if_asked();
    machine.tool("/sbin/lvdisplay").on("-c").runs(show("pools")).if_asked();
  }

  // Prints what was told, and fails when the test told it to.
  static std::string show(const std::string& file) {
    return "cat \"/told/" + file + "\"; test ! -e \"/told/" + file + ".fails\"";
  }
};

/// An appliance whose disks belong to a RAID controller and have no device names: the channels 1
/// and 2 are the array md0.
class appliance_with_controller : public appliance {
 protected:
  appliance_with_controller() {
    machine.file("/etc/sys_info", "[product]\ntype=KTA7120U\n");
    machine.tool("/usr/local/bin/arcadm")
        .on("--misc --scan")
        .prints("====\n0 /ST31000340NS/931/normal/Raid\n1 /ST31000340NS\n")
        .if_asked();
    machine.tool("/usr/local/bin/arcadm")
        .on("--display --scan")
        .prints("====\nmd0 /5 /64K /normal /1862 GB /sdb / #1 #2\n")
        .if_asked();
  }
};

#endif
