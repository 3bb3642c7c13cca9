#ifndef ORV_TESTS_RAID_MACHINE_WITH_DISKS_H
#define ORV_TESTS_RAID_MACHINE_WITH_DISKS_H

#include <orv.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "tests/sandbox/sandbox.h"

/// A list of arrays that releases its records.
class md_list {
 public:
  md_list() { md_list_init(&list_); }
  ~md_list() { md_list_fini(&list_); }
  md_list(const md_list&) = delete;
  md_list& operator=(const md_list&) = delete;

  tag_mdinfo_list* get() { return &list_; }

  /// Appends a record as a caller would.
  tag_md_info& add(const std::string& name) {
    auto* const md = static_cast<tag_md_info*>(std::malloc(sizeof(tag_md_info)));
    md_conf_init(md);
    liborv_strncpy(md->name, sizeof md->name, name.c_str());
    md->list = {&list_.list, list_.list.prev};
    md->list.prev->next = list_.list.prev = &md->list;
    return *md;
  }

  std::vector<tag_md_info*> records() {
    std::vector<tag_md_info*> all;
    for (list_node* node = list_.list.next; node != &list_.list; node = node->next) {
      all.push_back(reinterpret_cast<tag_md_info*>(reinterpret_cast<char*>(node) -
                                                   offsetof(tag_md_info, list)));
    }
    return all;
  }
  tag_md_info& only() { return *records().at(0); }
  std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const tag_md_info* md : records()) all.emplace_back(md->name);
    return all;
  }

 private:
  tag_mdinfo_list list_;
};

/// Every field of an array, in the order of the record.
inline sandbox::lines fields_of(const tag_md_info& md) {
  return {md.name,
          md.level,
          md.state,
          md.progress,
          std::to_string(md.size),
          std::to_string(md.size2),
          md.disks,
          md.spares,
          md.enclosure};
}

/// A request for disks, as the daemon makes it.
class disk_request {
 public:
  disk_request() { disk_list_init(&list_); }
  ~disk_request() { disk_list_fini(&list_); }
  disk_request(const disk_request&) = delete;
  disk_request& operator=(const disk_request&) = delete;

  tag_diskinfo_list* get() { return &list_; }

  void add(int ch, const std::string& enclosure, int hotspare = 0, const std::string& name = "") {
    auto* const disk = static_cast<tag_disk_info*>(std::malloc(sizeof(tag_disk_info)));
    disk_conf_init(disk);
    disk->ch = ch;
    disk->hotspare = hotspare;
    liborv_strncpy(disk->enclosure, sizeof disk->enclosure, enclosure.c_str());
    liborv_strncpy(disk->name, sizeof disk->name, name.c_str());
    disk->list = {&list_.list, list_.list.prev};
    disk->list.prev->next = list_.list.prev = &disk->list;
  }

 private:
  tag_diskinfo_list list_;
};

/// One member of an array of the machine and its state in sysfs.
struct member {
  std::string name;
  std::string state = "in_sync";
};

/// An appliance with the disks sda to sdf in the channels 1 to 6 of enclosure "1", and no array,
/// hot spare or volume group until the test adds some.
class machine_with_disks : public sandbox_test {
 protected:
  machine_with_disks() {
    model("ZOR7130L");
    machine.tool("cat").is_real();
    machine.tool("/usr/local/bin/hotspare")
        .on("--list")
        .runs(count_spare_questions + show("spares"))
        .if_asked();
    machine.tool("/sbin/mdadm").on("--detail ...").runs(show("detail/${2##*/}")).if_asked();
    machine.tool("/sbin/vgdisplay").on("-c").runs(show("groups")).if_asked();
    machine.tool("/sbin/pvdisplay").on("-c").runs(show("volumes")).if_asked();
    machine.file("/proc/mdstat", "Personalities : [raid6] [raid5] [raid4]\n");
    machine.file("/told/groups", "");
    machine.file("/told/volumes", "");
    hot_spares("");
    put_disks("1", "bus 2, slot 1",
              {"0 0 *sda", "0 1 *sdb", "0 2 *sdc", "0 3 *sdd", "1 0 *sde", "1 1 *sdf"});
  }

  void model(const std::string& name) {
    machine.file("/etc/sys_info", "[product]\ntype=" + name + "\n");
  }

  /// A host of the disk driver; each disk as "PORT UNIT NAME".
  void put_disks(const std::string& host, const std::string& place, const sandbox::lines& disks) {
    std::string text = "Marvell SATA host adapter driver\nPCI location: " + place + "\n";
    for (int line = 2; line < 9; ++line) text += "-\n";
    for (const std::string& disk : disks) {
      std::istringstream words(disk);
      std::string port, unit, name;
      words >> port >> unit >> name;
      text.append("0 ").append(port).append(" ").append(unit);
      text.append(" disk 3.0Gb/s NCQ 32 UDMA6 online ").append(name).append("\n");
    }
    machine.file("/proc/scsi/mvSata/" + host, text);
  }

  /// A disk in the main chassis, in the first eight channels.
  void put_in_main_chassis(int channel, const std::string& name) {
    put_disks("0", "bus 1, slot 4", {std::to_string(channel - 1) + " 0 " + name});
  }

  void hot_spares(const std::string& names) {
    machine.file("/told/spares", "Global hotspare disk: " + names + "\n");
  }
  void hot_spares_unknown() { machine.remove("/told/spares"); }
  /// The hot spares are known only so many times.
  void hot_spares_known(int times) {
    machine.remove("/told/asked");
    machine.file("/told/times", std::to_string(times));
  }
  int times_asked_for_hot_spares() const {
    const std::string asked = machine.read("/told/asked");
    return static_cast<int>(std::count(asked.begin(), asked.end(), '\n'));
  }
  void arrays_unknown() { machine.remove("/proc/mdstat"); }
  void groups_unknown() { machine.remove("/told/groups"); }

  /// An array that mdadm calls clean.
  void put_array(const std::string& name, const std::string& level,
                 const std::vector<member>& members) {
    machine.file("/proc/mdstat", machine.read("/proc/mdstat") + name + " : active " + level + "\n" +
                                     "      1048576 blocks super 1.2\n      \n");
    machine.file("/told/detail/" + name, "/dev/" + name + ":\n        Raid Level : " + level +
                                             "\n        Array Size : 1048576 (1.00 GiB 1.07 GB)\n"
                                             "             State : clean \n");
    put_members(name, static_cast<int>(members.size()), members);
  }

  void put_members(const std::string& name, int expected, const std::vector<member>& members) {
    const std::string directory = "/sys/block/" + name + "/md";
    machine.directory(directory);
    machine.file(directory + "/raid_disks", std::to_string(expected) + "\n");
    for (const member& one : members) {
      machine.file(directory + "/dev-" + one.name + "/state", one.state + "\n");
    }
  }

  /// A volume group on one device.
  void put_group(const std::string& name, const std::string& device) {
    machine.file("/told/groups", machine.read("/told/groups") + "  " + name +
                                     ":r/w:772:-1:0:0:0:-1:0:1:1:1048576:4096:256:0:256:AbCdEf\n");
    machine.file("/told/volumes", machine.read("/told/volumes") + "  /dev/" + device + ":" + name +
                                      ":2097152:-1:8:8:-1:4096:256:256:0:AbCdEf\n");
  }

  /// What the shell was given besides questions.
  sandbox::lines changes() const {
    sandbox::lines all;
    for (const std::string& command : machine.commands()) {
      if (!is_question(command)) all.push_back(command);
    }
    return all;
  }

  static std::string failed_command(const std::string& command, int exit_code = 1) {
    return "system(\"" + command + "\") return normal with exit(" + std::to_string(exit_code) +
           ") for '";
  }

  static std::string show(const std::string& file) {
    return "cat \"/told/" + file + "\" 2>/dev/null";
  }

 private:
  static constexpr char count_spare_questions[] =
      "echo >> /told/asked; "
      "[ ! -e /told/times ] || [ $(wc -l < /told/asked) -le $(cat /told/times) ] || exit 1; ";

  static bool is_question(const std::string& command) {
    for (const std::string question :
         {"cat ", "/sbin/mdadm --detail ", "/usr/local/bin/hotspare --list ", "/sbin/vgdisplay -c ",
          "/sbin/pvdisplay -c ", "/usr/local/bin/arcadm "}) {
      if (command.starts_with(question)) return true;
    }
    return false;
  }
};

/// The model whose disks and arrays belong to a RAID controller. Its disks have no device names.
class machine_with_controller : public machine_with_disks {
 protected:
  machine_with_controller() {
    model("KTA7120U");
    machine.tool("/usr/local/bin/arcadm").on("--misc --scan").prints(disks).if_asked();
    machine.tool("/usr/local/bin/arcadm").on("--display --scan").runs(show("arrays")).if_asked();
    put_array_of_device("sdb");
  }

  static constexpr char disks[] =
      "Port /Model /Capacity /State /Usage\n"
      "====\n"
      "0 /ST31000340NS/931/normal/Raid\n"
      "1 /ST31000340NS/931/normal/Raid\n"
      "2 /ST31000340NS/931/normal/Free\n"
      "3 /N.A./0/N.A./N.A.\n";

  /// The array "md0" of the channels 1 and 2, known to the machine as a device.
  void put_array_of_device(const std::string& device) {
    machine.file("/told/arrays",
                 "Name /Level /Stripe /State /Capacity /Device /Member disks\n====\n"
                 "md0 /5 /64K /normal /1862 GB /" +
                     device + " / #1 #2\n");
  }
};

#endif
