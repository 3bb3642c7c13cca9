#include "tests/security/injection_machine.h"

#include "tests/sandbox/programs/records.h"

namespace security {
namespace {

constexpr char group_line[] = ":r/w:772:-1:0:0:0:-1:0:1:1:104857600:4096:25600:0:25600:uuid\n";

std::string pool_line(const std::string& group, const std::string& pool) {
  return "  /dev/" + group + '/' + pool + ':' + group + ":3:1:-1:0:20971520:25:-1:0:-1:253:0\n";
}

std::string volume_line(const std::string& device, const std::string& group) {
  return "  /dev/" + device + ':' + group + ":20971520:-1:8:8:-1:4096:2560:2560:0:uuid\n";
}

std::string detail_of_array() {
  return "        Raid Level : raid5\n        Array Size : 1048576 (1.00 GiB 1.07 GB)\n"
         "             State : clean \n";
}

void put_disks(sandbox::machine& machine) {
  std::string disks = "Driver\nPCI location: bus 2, slot 1\n-\n-\n-\n-\n-\n-\n-\n";
  const std::string names = "abcdef";
  for (std::size_t i = 0; i < names.size(); ++i) {
    disks += "0 " + std::to_string(i / 4) + ' ' + std::to_string(i % 4) +
             " disk 3.0Gb/s NCQ 32 UDMA6 online *sd" + names[i] + '\n';
    const std::string directory = std::string("/sys/block/sd") + names[i];
    machine.file(directory + "/size", "2097152\n");
    machine.file(directory + "/device/state", "running\n");
    machine.file(directory + "/device/model", "ST3\n");
  }
  machine.file("/proc/scsi/mvSata/1", disks);
  machine.file("/proc/partitions",
               "major minor  #blocks  name\n\n   8 0 1024 sda\n   9 0 1024 md0\n");
}

void put_storage(sandbox::machine& machine) {
  machine.file("/etc/sys_info", "[product]\ntype=ZOR7130L\n");
  machine.file("/proc/mdstat",
               "Personalities : [raid5]\nmd0 : active raid5\n      1 blocks\n\n"
               "md7 : active raid5\n      1 blocks\n\n");
  machine.file("/sys/block/md0/md/raid_disks", "3\n");
  machine.file("/sys/block/md7/md/raid_disks", "3\n");
  for (const std::string name : {"sda", "sdb", "sdc"}) {
    machine.file("/sys/block/md0/md/dev-" + name + "/state",
                 name == "sdc" ? "faulty\n" : "in_sync\n");
  }
  machine.file("/etc/lvm/backup/vg0", "id = \"aaaa-bb\"\ndevice = \"/dev/md0\"\n");
  machine.file("/proc/mounts", "rootfs / rootfs rw 0 0\n/dev/vg0/lv0 /mnt/a xfs rw 0 0\n");
  machine.file("/etc/mdfstab", "/dev/vg0/lv0\t/mnt/a\txfs\tdefaults\t0 0\n");
  machine.directory("/mnt/a");
}

std::string listed(const std::string& name, const std::string& service) {
  std::string text =
      "[" + name + "]\n    sharename = " + name + "\n    path = /mnt/" + name + "\n    size = 7\n";
  for (const std::string word : {"samba", "nfs", "ftp", "iscsi"}) {
    text += "    " + word + (word == service ? " = 1\n" : " = 0\n");
  }
  return text + "    comment = of " + name + '\n';
}

std::string offered(const std::string& name, const std::string& right) {
  return "[" + name + "]\n    comment = of " + name + "\n    path = /mnt/" + name +
         "\n    public = yes\n    " + right +
         " = yes\n    printable = no\n    create mask = 0777\n    valid users = ann\n";
}

void put_shares(sandbox::machine& machine) {
  machine.file("/etc/sharefolder.conf", listed("first", "samba") + listed("second", "nfs") +
                                            listed("third", "iscsi") + listed("fourth", "ftp") +
                                            listed("parked", ""));
  machine.file("/etc/samba/smb.conf",
               "[global]\n    workgroup = HOME\n" + offered("first", "writable"));
  machine.file("/etc/samba/smb_recy.conf", offered("parked", "writeable"));
  machine.file("/etc/exports", "/mnt/second ann(rw,sync,no_root_squash)\n");
  machine.file("/etc/exports_recy", "/mnt/parked ann(rw,sync,no_root_squash)\n");
  machine.file("/etc/ietd.conf",
               "Target iqn.2006-05.org.orv:third.20200101000000\n\tIncomingUser ann secret\n"
               "\tLun 0 Path=/mnt/third,Type=fileio,IOMode=wb\n");
  machine.directory("/home/ann/fourth");
  machine.file("/etc/vsftpd/ann", "local_root=/mnt/fourth\nwrite_enable=YES\n");
  machine.file("/proc/net/iet/volume", "tid:1 name:iqn.2006-05.org.orv:third.20200101000000\n");
  machine.file("/proc/net/iet/session", "tid:1 name:iqn.2006-05.org.orv:third\n");
}

void put_accounts(sandbox::machine& machine) {
  machine.file("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\nann:x:500:500::/home/ann:/bin/sh\n");
  machine.file("/etc/shadow", "root:*:19000:0:99999:7:::\nann:!:19000:0:99999:7:::\n", 0640);
  machine.file("/etc/group", "root:x:0:\n");
  machine.file("/etc/nas_userfile.conf", "ann||secret\n", 0600);
  machine.file("/etc/samba/private/smbpasswd", "ann:500\n", 0600);
  machine.file("/etc/hostname", "nas");
}

}  // namespace

void furnish(sandbox::machine& machine) {
  put_disks(machine);
  put_storage(machine);
  put_shares(machine);
  put_accounts(machine);
  machine.file("/told/text", "in_sync\n");
  machine.file("/told/interfaces", "auto eth0\niface eth0 inet static\n gateway 10.0.0.1\n");
  for (const char* const path :
       {"/scratch", "/tmp", "/var/lib/orv/kept/etc/samba/private", "/root"})
    machine.directory(path);
}

std::string printed_by(const std::vector<std::string>& command, const std::string& name) {
  const std::string& tool = command.at(0);
  if (tool == "cat" && command.size() == 2) return sandbox::whole_file(command[1].c_str());
  if (tool == "/usr/local/bin/hotspare") return "Global hotspare disk: \n";
  if (tool == "/sbin/mdadm" && command.at(1) == "--detail") return detail_of_array();
  if (tool == "/sbin/vgdisplay") return "  vg0" + (group_line + ("  " + name)) + group_line;
  if (tool == "/sbin/pvdisplay") return volume_line("md0", "vg0");
  if (tool == "/sbin/lvdisplay") return pool_line("vg0", "lv0") + pool_line(name, name);
  if (tool == "/usr/local/bin/arcadm" && command.at(1) == "--display") {
    return "Name /Level\n====\nmd0 /5 /64K /normal /1862 GB /sdb / #1 #2\n";
  }
  if (tool == "/bin/busybox") return "1\n";
  return "";
}

}  // namespace security
