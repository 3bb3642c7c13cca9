#include "bench/appliance.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include "bench/machine.h"

namespace bench {
namespace {

using std::string;
using std::to_string;

constexpr int disks_of_host = 6;

/// "sda", "sdb", ..., "sdz", "sdaa", ...
string disk_name(int number) {
  string letters;
  for (++number; number > 0; number = (number - 1) / 26) {
    letters.insert(letters.begin(), static_cast<char>('a' + (number - 1) % 26));
  }
  return "sd" + letters;
}

string md_name(int number) { return "md" + to_string(number); }
string group_name(int number) { return "vg" + to_string(number); }
string pool_name(int number) { return "pool" + to_string(number); }

/// Two digits, as the driver's directory has room for.
void add_host(int host, int first, int end) {
  string text = "PCI location: 2,1\n";
  for (int line = 1; line < 9; ++line) text += "\n";
  for (int disk = first; disk < end; ++disk) {
    const int place = disk - first;
    text += "0 " + to_string(place / 4) + ' ' + to_string(place % 4) + " a b c d e f *" +
            disk_name(disk) + '\n';
  }
  write_file("/proc/scsi/mvSata/" + to_string(host), text);
}

void add_disk(int disk) {
  const string folder = "/sys/block/" + disk_name(disk);
  write_file(folder + "/size", "3907029168\n");
  write_file(folder + "/device/state", "running\n");
  write_file(folder + "/device/model", "WDC WD20EARX-00P\n");
  const string summary =
      "smartctl 7.3 2022-02-28\n\n=== START OF INFORMATION SECTION ===\n"
      "Device Model:     WDC WD20EARX-00P\nSerial Number:    WD-WCAZA" +
      to_string(disk) +
      "\nFirmware Version: 51.0AB51\nUser Capacity:    2,000,398,934,016 bytes [2.00 TB]\n"
      "ATA Version is:   ATA8-ACS (minor revision not indicated)\n"
      "SMART support is: Available - device has SMART capability.\nSMART support is: Enabled\n\n"
      "=== START OF READ SMART DATA SECTION ===\n"
      "SMART overall-health self-assessment test result: PASSED\n";
  can("smartctl -d marvell -T permissive -Hi /dev/" + disk_name(disk), summary);
  can("smartctl -d marvell -T permissive -Hi --attributes /dev/" + disk_name(disk),
      summary +
          "\nSMART Attributes Data Structure revision number: 16\n"
          "Vendor Specific SMART Attributes with Thresholds:\nID# ATTRIBUTE_NAME          FLAG     "
          "VALUE WORST THRESH TYPE      UPDATED  WHEN_FAILED RAW_VALUE\n"
          "  1 Raw_Read_Error_Rate     0x002f   200   200   051    Pre-fail  Always       -       "
          "0\n"
          "  3 Spin_Up_Time            0x0027   175   170   021    Pre-fail  Always       -       "
          "6225\n"
          "  5 Reallocated_Sector_Ct   0x0033   200   200   140    Pre-fail  Always       -       "
          "0\n"
          "  9 Power_On_Hours          0x0032   091   091   000    Old_age   Always       -       "
          "7003\n"
          "194 Temperature_Celsius     0x0022   117   103   000    Old_age   Always       -       "
          "33\n");
}

void add_disks(int count) {
  std::filesystem::remove_all("/proc/scsi/mvSata");
  std::filesystem::remove_all("/sys/block");
  std::filesystem::create_directories("/sys/block");
  for (int first = 0; first < count; first += disks_of_host) {
    add_host(first / disks_of_host, first, std::min(first + disks_of_host, count));
  }
  for (int disk = 0; disk < count; ++disk) add_disk(disk);
  can("hotspare --list", "Global hotspare disk: " + disk_name(count - 1) + '\n');
}

string mdadm_detail(int array) {
  return "/dev/" + md_name(array) +
         ":\n           Version : 1.2\n     Creation Time : Sat Nov 21 06:19:18 2026\n"
         "        Raid Level : raid1\n        Array Size : 1953383424 (1862.89 GiB 2000.26 GB)\n"
         "     Used Dev Size : 1953383424 (1862.89 GiB 2000.26 GB)\n      Raid Devices : 2\n"
         "     Total Devices : 2\n       Persistence : Superblock is persistent\n\n"
         "       Update Time : Sat Nov 21 06:19:18 2026\n             State : clean \n"
         "    Active Devices : 2\n   Working Devices : 2\n    Failed Devices : 0\n"
         "     Spare Devices : 0\n\nConsistency Policy : resync\n\n"
         "              Name : orv:" +
         to_string(array) +
         "  (local to host orv)\n"
         "              UUID : 24df5bba:0f58229b:50ff83b8:43135578\n            Events : 17\n\n"
         "    Number   Major   Minor   RaidDevice State\n"
         "       0       8       32        0      active sync   /dev/sda\n"
         "       1       8       48        1      active sync   /dev/sdb\n";
}

/// A mirror of two disks; where there are more arrays than pairs of disks, they share them.
void add_array(int array, int disks, string& mdstat) {
  const string first = disk_name(2 * array % disks);
  const string second = disk_name((2 * array + 1) % disks);
  mdstat += md_name(array) + " : active raid1 " + second + "[1] " + first +
            "[0]\n      1953383424 blocks super 1.2 [2/2] [UU]\n      \n";
  can("mdadm --detail /dev/" + md_name(array), mdadm_detail(array));
  const string folder = "/sys/block/" + md_name(array) + "/md/";
  write_file(folder + "raid_disks", "2\n");
  write_file(folder + "dev-" + first + "/state", "in_sync\n");
  write_file(folder + "dev-" + second + "/state", "in_sync\n");
}

void add_arrays(const storage& wanted) {
  string mdstat = "Personalities : [raid6] [raid5] [raid4] [raid1] [raid0] \n";
  string groups;
  string volumes;
  for (int array = 0; array < wanted.arrays; ++array) {
    add_array(array, wanted.disks, mdstat);
    groups += "  " + group_name(array) +
              ":r/w:772:-1:0:2:0:-1:0:1:1:1953382400:4096:476900:25600:451300:NvgsMY-N4ZP-QruP\n";
    volumes += "  /dev/" + md_name(array) + ':' + group_name(array) +
               ":3906764800:-1:8:8:-1:4096:476900:451300:25600:ShokST-iASS-f5G8\n";
  }
  write_file("/proc/mdstat", mdstat + "unused devices: <none>\n");
  set_groups(wanted.arrays);
  can("vgdisplay -c", groups);
  can("pvdisplay -c", volumes);
}

void add_pools(const storage& wanted) {
  string pools;
  string table;
  string mounts = "rootfs / rootfs rw 0 0\nproc /proc proc rw 0 0\ntmpfs /tmp tmpfs rw 0 0\n";
  for (int pool = 0; pool < wanted.pools; ++pool) {
    const string group = group_name(pool % wanted.arrays);
    const string device = "/dev/" + group + '/' + pool_name(pool);
    const string folder = "/mnt/" + pool_name(pool);
    pools += "  " + device + ':' + group + ":3:1:-1:1:20971520:2560:-1:0:-1:252:0\n";
    table += device + '\t' + folder + "\txfs\tdefaults\t0 0\n";
    mounts += "/dev/mapper/" + group + '-' + pool_name(pool) + ' ' + folder + " xfs rw 0 0\n";
    std::filesystem::create_directories(folder);
  }
  can("lvdisplay -c", pools);
  write_file("/etc/mdfstab", table);
  write_file("/proc/mounts", mounts);
}

struct share_texts {
  string folder;
  string samba = "[global]\n    workgroup = WORKGROUP\n    security = user\n";
  string exports;
  string targets;
  string volumes;
};

/// The shares' folders are there from the first time on.
void make_folder(int number, const string& path) {
  static int made = 0;
  if (number < made) return;
  std::filesystem::create_directories(path);
  made = number + 1;
}

void add_share(int number, const string& service, share_texts& texts) {
  const string name = "share" + to_string(number);
  const string path = "/mnt/" + pool_name(number % 500) + '/' + name;
  make_folder(number, path);
  texts.folder +=
      '[' + name + "]\n    sharename = " + name + "\n    path = " + path + "\n    size = 100\n";
  for (const string word : {"samba", "nfs", "ftp", "iscsi"}) {
    texts.folder += "    " + word + " = " + (word == service ? "1\n" : "0\n");
  }
  texts.folder += "    comment = what the people of room " + to_string(number) + " share\n";
  if (service == "samba") {
    texts.samba += '[' + name + "]\n    comment = what the people of room " + to_string(number) +
                   " share\n    path = " + path +
                   "\n    public = yes\n    writable = yes\n    printable = no\n"
                   "    create mask = 0777\n    valid users = ann,bob,cleo\n";
  } else if (service == "nfs") {
    texts.exports += path + " 10.1." + to_string(number % 250) + ".0/24(rw,sync,no_root_squash)\n";
  } else {
    const string target = "iqn.2006-05.org.orv:" + name + ".20260101000000";
    texts.targets += "Target " + target +
                     "\n\tIncomingUser ann secretsecret\n\tLun 0 Path=" + path +
                     ",Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n"
                     "\tWthreads\t16\n";
    texts.volumes += "tid:" + to_string(number + 1) + " name:" + target +
                     "\n\tlun:0 state:0 iotype:fileio iomode:wb path:" + path + '\n';
  }
}

}  // namespace

void set_storage(const storage& wanted) {
  write_file("/etc/sys_info",
             "[version]\nsoftware = 1.0\nhardware = 1.0\n[product]\ntype = KTA7120X\n");
  add_disks(wanted.disks);
  add_arrays(wanted);
  add_pools(wanted);
}

void set_shares(int count, services used) {
  share_texts texts;
  const string all[] = {"samba", "nfs", "iscsi"};
  for (int share = 0; share < count; ++share) {
    add_share(share, used == services::samba ? "samba" : all[share % 3], texts);
  }
  write_file("/etc/sharefolder.conf", texts.folder);
  write_file("/etc/samba/smb.conf", texts.samba);
  write_file("/etc/exports", texts.exports);
  write_file("/etc/ietd.conf", texts.targets);
  write_file("/proc/net/iet/volume", texts.volumes);
  write_file("/etc/vsftpd/ftpuser", "");
}

void set_mount_table(int entries) {
  string table;
  for (int entry = 0; entry < entries; ++entry) {
    table += "/dev/" + group_name(entry % 40) + '/' + pool_name(entry) + "\t/mnt/" +
             pool_name(entry) + "\txfs\tdefaults\t0 0\n";
  }
  write_file("/etc/mdfstab", table);
}

void set_users(int count) {
  string users;
  string accounts = "root:x:0:0:root:/root:/bin/sh\n";
  string shadow = "root:*:19000:0:99999:7:::\n";
  string groups = "root:x:0:\n";
  for (int user = 0; user < count; ++user) {
    const string name = "user" + to_string(user);
    const string number = to_string(500 + user);
    users += name + "||secret" + number + '\n';
    accounts += name + ":x:" + number + ':' + number + "::/home/" + name + ":/bin/nologin\n";
    shadow += name + ":$1$abcdefgh$2xJoFJBCzr1zVVV0pYnCg.:19000:0:99999:7:::\n";
    groups += name + ":x:" + number + ":\n";
  }
  write_file("/etc/nas_userfile.conf", users);
  write_file("/etc/passwd", accounts);
  write_file("/etc/shadow", shadow);
  write_file("/etc/group", groups);
  write_file("/etc/samba/private/smbpasswd", users);
  can("adduser -DH -s /bin/nologin newcomer", "");
  can("smbpasswd -a -s newcomer", "");
}

void set_connections(int count) {
  const string line = "------------------------------------------------------------\n";
  string sockets =
      "Active Internet connections (w/o servers)\n"
      "Proto Recv-Q Send-Q Local Address           Foreign Address         State\n";
  string processes = "\nSamba version 4.17.12-Debian\nPID  Username  Group  Machine\n" + line;
  string shares = "\nService      pid     Machine       Connected at\n" + line;
  string sessions;
  for (int client = 0; client < (count + 2) / 3; ++client) {
    const string number = to_string(client + 1);
    const string address = "10.1." + to_string(client / 250) + '.' + to_string(client % 250 + 1);
    sockets += "tcp        0      0 nas:ftp                 " + address + ":42" +
               to_string(client % 1000) + "         ESTABLISHED\n";
    if (client >= (count + 1) / 3) continue;
    processes += number + "  user" + number + "  user" + number + "  " + address +
                 " (ipv4:" + address + ":42794)  SMB3_11  -  partial(AES-128-GMAC)\n";
    shares += "share" + number + "  " + number + "  " + address + "  Sat Nov 21 08:08:06 2026\n";
    if (client >= count / 3) continue;
    sessions += "tid:" + number + " name:iqn.2006-05.org.orv:share" + number + "\n\tsid:" + number +
                " initiator:iqn.1993-08.org.debian:01:" + number + "\n\t\tcid:0 ip:" + address +
                " state:active hd:none dd:none\n";
  }
  can("netstat -t", sockets);
  can("smbstatus", processes + shares + '\n');
  write_file("/proc/net/iet/session", sessions);
}

void set_services() {
  for (const char* const daemon : {"smbd", "nmbd", "nfsd", "vsftpd", "ietd", "orv"}) {
    can(string("busybox pidof ") + daemon, "1234\n");
  }
  can("pwstate", "power state: normal\n");
  can("ps aux", "USER PID %CPU %MEM VSZ RSS TTY STAT START TIME COMMAND\n");
  write_file("/etc/sys_info", "[product]\ntype = KTA7120E\n");
}

}  // namespace bench
