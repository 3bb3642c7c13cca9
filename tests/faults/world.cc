#include "world.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/companion_path.h"
#include "tests/sandbox/libc.h"
#include "tests/share/share_files.h"

namespace faults {
namespace {

std::string attribute(const std::string& id, const std::string& name) {
  return "  " + id + " " + name +
         "     0x000f   100   099   044    Pre-fail  Always       -       7\n";
}

std::string smart_output() {
  std::string text =
      "smartctl version 5.38\nHome page\n\n=== START OF INFORMATION SECTION ===\n"
      "Device Model:     ST31000340NS\nSerial Number:    9QJ2ABCD\nFirmware Version: SN06\n"
      "User Capacity:    1,000,204,886,016 bytes\nDevice is:        In smartctl database\n"
      "ATA Version is:   8\nATA Standard is:  ATA-8-ACS revision 4\nLocal Time is:    Mon\n"
      "SMART support is: Available - device has SMART capability.\nSMART support is: Enabled\n\n"
      "=== START OF READ SMART DATA SECTION ===\n"
      "SMART overall-health self-assessment test result: PASSED\n\n";
  for (const auto& [id, name] :
       {std::pair("1", "Raw_Read_Error_Rate"), std::pair("5", "Reallocated_Sector_Ct"),
        std::pair("194", "Temperature_Celsius")})
    text += attribute(id, name);
  return text;
}

std::string listed(const std::string& name, const std::string& service) {
  std::string text =
      "[" + name + "]\n    sharename = " + name + "\n    path = /mnt/" + name + "\n    size = 7\n";
  for (const std::string word : {"samba", "nfs", "ftp", "iscsi"})
    text += "    " + word + (word == service ? " = 1\n" : " = 0\n");
  return text + "    comment = of " + name + "\n";
}

std::string offered(const std::string& name, const std::string& right) {
  return "[" + name + "]\n    comment = of " + name + "\n    path = /mnt/" + name +
         "\n    public = yes\n    " + right +
         "\n    printable = no\n    create mask = 0777\n    valid users = ann\n";
}

std::string exported(const std::string& name) {
  return "/mnt/" + name + " ann(rw,sync,no_root_squash)\n";
}

bool is_the_machines(const std::string& path) {
  for (const std::string prefix : {"/.sandbox", "/proc", "/sys", "/bin", "/sbin", "/usr", "/dev"})
    if (path == prefix || (path.starts_with(prefix) && path[prefix.size()] == '/')) return true;
  return false;
}

}  // namespace

world::world(const std::string& model) {
  machine.file("/etc/sys_info",
               "[version]\nsoftware=2.4\nhardware=B\n[product]\ntype=" + model + "\n");
  machine.tool("cat").is_real();
  machine.tool("mv").is_real();
  put_disks();
  put_arrays();
  put_volumes();
  put_shares();
  put_services();
  put_accounts();
  put_state();
}

void world::changers(const sandbox::lines& paths) {
  for (const auto& path : paths) machine.tool(path).succeeds().if_asked();
}

void world::put_disks() {
  std::string host = "Marvell SATA host adapter driver\nPCI location: bus 2, slot 1\n";
  for (int line = 2; line < 9; ++line) host += "-\n";
  for (const std::string disk : {"0 0 *sda", "0 2 *sdc", "1 1 *sdf", "1 2 *sdg", "1 3 *sdh"})
    host += "0 " + disk.substr(0, 4) + "disk 3.0Gb/s NCQ 32 UDMA6 online " + disk.substr(4) + "\n";
  machine.file("/proc/scsi/mvSata/0", host);
  std::string partitions = "major minor  #blocks  name\n\n   9 0 1000 md0\n";
  for (const std::string disk : {"sda", "sdc", "sdf", "sdg", "sdh"}) {
    machine.file("/sys/block/" + disk + "/size", "1953525168\n");
    machine.file("/sys/block/" + disk + "/device/state", "running\n");
    machine.file("/sys/block/" + disk + "/device/model", "ST31000340NS    \n");
    partitions += "   8 0 976762584 " + disk + "\n";
  }
  machine.file("/proc/partitions", partitions);
  auto& hotspare = machine.tool("/usr/local/bin/hotspare");
  hotspare.on("--list").prints("Global hotspare disk: sdh\n").if_asked();
  hotspare.succeeds().if_asked();
  machine.tool("/usr/local/sbin/smartctl").prints(smart_output()).if_asked();
  auto& arcadm = machine.tool("/usr/local/bin/arcadm");
  arcadm.on("--misc --scan")
      .prints(
          "====\n0 /ST31000340NS/931/normal/Raid\n1 /ST31000340NS/931/normal/Raid\n"
          "2 /ST31000340NS/931/normal/Free\n")
      .if_asked();
  arcadm.on("--display --scan")
      .prints("====\nmd0 /5 /64K /normal /1862 GB /sdb / #1 #2\n")
      .if_asked();
  arcadm.on("--misc -s -i *")
      .prints("Spin Up Time : 97 (21) OK\nReallocated Sector Count : 98 (36) OK\n")
      .if_asked();
  changers({"/usr/local/bin/diskformat"});
}

void world::put_arrays() {
  std::string status = "Personalities : [raid6] [raid5] [raid4] [raid1]\n";
  auto& mdadm = machine.tool("/sbin/mdadm");
  const auto array = [&](const std::string& name, const std::string& level,
                         const std::string& progress, const sandbox::lines& members) {
    status +=
        name + " : active " + level + "\n      1048576 blocks super 1.2\n" + progress + "      \n";
    mdadm.on("--detail /dev/" + name)
        .prints("/dev/" + name + ":\n        Raid Level : " + level +
                "\n        Array Size : 1048576 (1.00 GiB 1.07 GB)\n             State : clean" +
                (progress.empty() ? "" : ", degraded, recovering") + " \n")
        .if_asked();
    const std::string md = "/sys/block/" + name + "/md/";
    machine.file(md + "raid_disks", std::to_string(members.size()) + "\n");
    machine.file(md + "array_state", "clean\n");
    machine.file(md + "level", level + "\n");
    machine.file(md + "degraded", progress.empty() && name != "md0" ? "0\n" : "1\n");
    for (const auto& member : members) {
      const auto blank = member.find(' ');
      machine.file(md + "dev-" + member.substr(0, blank) + "/state",
                   member.substr(blank + 1) + "\n");
    }
  };
  array("md0", "raid5", "", {"sda in_sync", "sdb in_sync", "sdc faulty"});
  array("md1", "raid1",
        "      [==>..................]  recovery = 12.6% (1/8) finish=3min speed=49152K/sec\n",
        {"sdd in_sync", "sde spare"});
  array("md2", "raid1", "", {"sdi in_sync", "sdj in_sync"});
  machine.file("/proc/mdstat", status);
  for (const char* device : {"/dev/sda", "/dev/sdc", "/dev/md0"}) machine.in_use(device);
  mdadm.succeeds().if_asked();
}

void world::put_volumes() {
  const auto group = [](const std::string& name, const std::string& used) {
    return "  " + name + ":r/w:772:-1:0:1:1:-1:0:1:1:1953255424:4096:476869:" + used +
           ":348869:u\n";
  };
  const auto volume = [](const std::string& device, const std::string& group_name) {
    return "  " + device + ":" + group_name + ":3906519040:-1:8:8:-1:4096:476869:348869:128000:u\n";
  };
  machine.tool("/sbin/vgdisplay")
      .on("-c")
      .prints(group("vg1", "128000") + group("vg2", "0"))
      .if_asked();
  machine.tool("/sbin/pvdisplay")
      .on("-c")
      .prints(volume("/dev/md0", "vg1") + volume("/dev/md2", "vg2"))
      .if_asked();
  machine.tool("/sbin/lvdisplay")
      .on("-c")
      .prints("  /dev/vg1/data:vg1:3:1:-1:1:1048576000:128000:-1:0:-1:253:0\n")
      .if_asked();
  machine.file("/etc/lvm/backup/vg1",
               "id = \"g\"\nseqno = 1\n\tid = \"a-1\"\n\tdevice = \"/dev/md0\"\n"
               "\tid = \"a-2\"\n\tdevice = \"/dev/md2\"\n");
  changers({"/sbin/pvcreate", "/sbin/pvremove", "/sbin/vgcreate", "/sbin/vgextend",
            "/sbin/vgremove", "/sbin/vgcfgrestore", "/sbin/lvcreate", "/sbin/lvextend",
            "/sbin/lvremove", "/sbin/mkfs.xfs", "/sbin/mkfs.reiserfs", "mount", "umount", "chmod",
            "chattr"});
  machine.tool("mkdir").is_real();
  machine.tool("rm").is_real();
  machine.file("/etc/mdfstab",
               "# what is mounted\n/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0\n"
               "/dev/vg1/old\t/mnt/old\txfs\tdefaults\t0 0\n");
  machine.file("/proc/mounts",
               "/dev/sda1 / ext4 rw,relatime 0 0\n/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n");
  machine.directory("/mnt/data");
  machine.statfs("/mnt/data", {4096, 2621440, 1048576});
}

void world::put_shares() {
  machine.file(shares_path, listed("photos", "samba") + listed("music", "nfs") +
                                listed("films", "ftp") + listed("disk", "iscsi") +
                                listed("parked", "") + listed("away", ""));
  machine.file(smb_path, "[global]\n    workgroup = NAS\n" + offered("photos", "writable = yes"));
  machine.file(smb_recy_path, offered("parked", "writeable = yes"));
  machine.file(exports_path, exported("music"));
  machine.file(exports_recy_path, exported("parked") + exported("away"));
  machine.file(ietd_path,
               "Target iqn.2006-05.org.orv:disk.20240131235959\n\tIncomingUser ann secret\n"
               "\tLun 0 Path=/mnt/disk,Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n");
  machine.file("/proc/net/iet/volume",
               "tid:1 name:iqn.2006-05.org.orv:disk.20240131235959\n"
               "\tlun:0 state:0 iotype:fileio iomode:wb path:/mnt/disk\n");
  machine.file("/proc/net/iet/session",
               "tid:1 name:iqn.2006-05.org.orv:disk.20240131235959\n"
               "\tsid:564049469047296 initiator:iqn.1993-08.org.debian:01:abc\n"
               "\t\tcid:0 ip:10.0.0.9 state:active hd:none dd:none\n");
  machine.file("/etc/vsftpd/ann", "local_root=/mnt/films\nwrite_enable=YES\n");
  machine.directory("/home/ann/films");
  machine.file("/tmp/df.info",
               "Filesystem 1K-blocks Used Available Use% Mounted on\n"
               "/dev/mapper/vg1-data 10485760 4194304 6291456 40% /mnt/data\n");
}

void world::put_services() {
  machine.file("/etc/vsftpd.conf",
               "# limits\nanonymous_enable=NO\nlocal_max_rate=0\nmax_clients=20\nmax_per_ip=2\n");
  machine.tool("/bin/busybox").on("pidof *").prints("812 813\n").if_asked();
  machine.tool("netstat")
      .prints("Active Internet connections\ntcp 0 0 nas:ftp 10.11.0.7:47692 ESTABLISHED\n")
      .if_asked();
  machine.tool("smbstatus").prints(sandbox::fixture("smbstatus/one_client.txt")).if_asked();
  changers({"/etc/init.d/samba", "/etc/init.d/nfs", "/etc/init.d/vsftpd",
            "/etc/init.d/iscsi-target", "halt", "reboot", "hwclock"});
  machine.tool("ps").prints("USER PID\nroot 1\n").if_asked();
}

void world::put_accounts() {
  machine.file("/etc/passwd",
               "root:x:0:0:root:/root:/bin/sh\nann:x:1000:1000::/home/ann:/bin/no\n");
  machine.file("/etc/shadow",
               "root:*:19000:0:99999:7:::\n"
               "ann:$1$abcdefgh$JQ7NhKbKMZ0D3X4dxVEcm/:19900:0:99999:7:::\n",
               0640);
  machine.file("/etc/group", "root:x:0:\nann:x:1000:\n");
  machine.file("/etc/nas_userfile.conf", "ann||secret of ann\n", 0600);
  machine.file("/etc/samba/private/smbpasswd", "ann:added\n", 0600);
  machine.tool("adduser")
      .runs(
          "echo \"$4:x:1001:1001:Linux User,,,:/home/$4:/bin/nologin\" >> /etc/passwd\n"
          "echo \"$4:!:19900:0:99999:7:::\" >> /etc/shadow\n"
          "echo \"$4:x:1001:\" >> /etc/group\n")
      .if_asked();
  machine.tool("userdel")
      .runs("sed -i \"/^$1:/d\" /etc/passwd /etc/shadow /etc/group\n")
      .if_asked();
  auto& smbpasswd = machine.tool("/usr/bin/smbpasswd");
  const std::string smb = "/etc/samba/private/smbpasswd";
  smbpasswd.on("-a ...").runs("cat > /smb_input; echo \"$3:added\" >> " + smb).if_asked();
  smbpasswd.on("-x ...").runs("sed -i \"/^$2:/d\" " + smb).if_asked();
}

void world::put_state() {
  machine.file("/var/run/sys_state",
               "[status]\ntemp(cpu)=41\nfan1=3200\nfan2=3150\npower=normal\n");
  machine.file("/tmp/nas_state.conf", "[misc]\ntemp(cpu)=41\nfan1=3200\nfan2=3150\npower=normal\n");
  machine.tool("/usr/local/bin/pwstate").prints("power state: normal\n").if_asked();
  machine.file("/etc/hostname", "nas1\n");
  machine.file("/etc/nas_start_time.conf", "2024-05-01 10:00:00\n");
  machine.file("/etc/network/interfaces",
               "auto eth0\niface eth0 inet static\n address 10.0.0.2\n gateway 10.0.0.1\n"
               "iface eth1 inet dhcp\n");
}

namespace {

/// The companions of files are named by numbers that differ from machine to machine; here by the
/// files that they belong to.
std::string with_owner(const std::string& path, const std::map<std::string, std::string>& owners) {
  const auto end = path.find('.', sizeof orv::support::companions_directory - 1);
  const auto owner = owners.find(path.substr(0, end));
  if (owner == owners.end()) return path;
  return std::string(companions) + owner->second + (end == path.npos ? "" : path.substr(end));
}

}  // namespace

files world::all_files() const {
  std::map<std::string, std::string> owners;
  files found;
  for (std::filesystem::recursive_directory_iterator entry("/"), end; entry != end; ++entry) {
    const std::string path = entry->path();
    if (is_the_machines(path)) {
      if (entry->is_directory()) entry.disable_recursion_pending();
      continue;
    }
    struct stat examined {};
    if (::fstatat(AT_FDCWD, path.c_str(), &examined, AT_SYMLINK_NOFOLLOW) != 0) continue;
    std::ostringstream text;
    text << std::oct << (examined.st_mode & 07777U) << ' ';
    if (S_ISREG(examined.st_mode)) text << std::ifstream(path).rdbuf();
    const std::string name = sandbox::libc::with_templates(path);
    owners[orv::support::companion_path(examined)] = name;
    found[name] = text.str();
  }
  files renamed;
  for (const auto& [name, text] : found) renamed[with_owner(name, owners)] = text;
  return renamed;
}

}  // namespace faults
