#ifndef ORV_TESTS_ORVCTL_WHOLE_APPLIANCE_H
#define ORV_TESTS_ORVCTL_WHOLE_APPLIANCE_H

#include "tests/disk/smart_output.h"
#include "tests/orvctl/appliance_with_shares.h"

/// An appliance on which every question has an answer, but for that to the alarm daemon: with
/// sensors, SMART, a share, clients and a log.
class whole_appliance : public appliance_with_shares {
 protected:
  whole_appliance() {
    machine.file("/etc/sys_info",
                 "[version]\nsoftware=2.4\nhardware=B\n[product]\ntype=KTA7120X\n");
    machine.file("/tmp/nas_state.conf",
                 "[misc]\ntemp(cpu)=41\nfan1=3200\nfan2=3150\npower=normal\n");
    machine.file("/etc/hostname", "nas1\n");
    machine.file("/etc/nas_start_time.conf", "2024-05-01 10:00:00\n");
    machine.file("/etc/vsftpd.conf", "local_max_rate=0\nmax_clients=20\nmax_per_ip=2\n");
    machine.file("/var/log/syslog", log);
    put_disks_that_tell();
    put_services();
    done("share add data --service samba --path /mnt/data --users ann");
  }

  /// What the daemons answer from now on.
  void runs(const std::string& daemon, bool running) {
    machine.file("/told/runs-" + daemon, running ? "812\n" : "");
  }
  void disk_says(const std::string& disk, const std::string& text) { tell("smart-" + disk, text); }

  static constexpr char log[] =
      "Mar  1 08:00:00 nas1 orv: raid_create:12 return -1 with Success\n"
      "Mar  1 08:00:01 nas1 kernel: md0: something of the kernel\n"
      "Mar  1 08:00:02 nas1 orv[77]: system(\"echo rosebud | smbpasswd -s ann\") return normal\n";

 private:
  void put_disks_that_tell() {
    const std::string attributes =
        "ID# ATTRIBUTE_NAME          FLAG     VALUE WORST THRESH TYPE      UPDATED  WHEN_FAILED "
        "RAW_VALUE\n" +
        smartctl_line("5", "Reallocated_Sector_Ct", "3") +
        smartctl_line("194", "Temperature_Celsius", "31");
    for (const std::string disk : {"sda", "sdb", "sdc", "sdd"}) {
      disk_says(disk, summary_output);
      tell("attributes-" + disk, attributes);
    }
    machine.tool(smartctl).on("--version").prints("smartctl version 5.38\n").if_asked();
    machine.tool(smartctl)
        .on("-d marvell -T permissive -Hi ...")
        .runs(
            "for disk; do :; done; cat /told/smart-${disk##*/}; "
            "case \"$*\" in *attributes*) cat /told/attributes-${disk##*/};; esac")
        .if_asked();
  }

  void put_services() {
    for (const char* daemon : {"smbd", "nmbd", "orv"}) runs(daemon, true);
    for (const char* daemon : {"nfsd", "vsftpd", "ietd"}) runs(daemon, false);
    machine.tool("/bin/busybox")
        .on("pidof *")
        .runs("test -s /told/runs-$2 && cat /told/runs-$2")
        .if_asked();
    machine.tool("netstat").prints("tcp 0 0 nas:ftp 10.11.0.7:47692\n").if_asked();
    machine.tool("smbstatus").prints(fixture("smbstatus/one_client.txt")).if_asked();
  }
};

#endif
