#ifndef ORV_TESTS_DISK_MACHINE_WITH_DISKS_H
#define ORV_TESTS_DISK_MACHINE_WITH_DISKS_H

#include <orv/disk.h>
#include <orv/support.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/sandbox/sandbox.h"

/// Appends a cleared attribute as a caller would.
inline tag_disksmart_info& append_attribute(tag_disksmart_list& attributes, const char* id) {
  auto* const attribute = static_cast<tag_disksmart_info*>(std::malloc(sizeof(tag_disksmart_info)));
  smart_conf_init(attribute);
  liborv_strncpy(attribute->id, sizeof attribute->id, id);
  list_node& anchor = attributes.list;
  attribute->list = {&anchor, anchor.prev};
  anchor.prev->next = &attribute->list;
  anchor.prev = &attribute->list;
  return *attribute;
}

/// A machine with the sources that tell about disks, and a list to read them into.
class disk_test : public sandbox_test {
 protected:
  disk_test() { disk_list_init(&list); }
  ~disk_test() override { disk_list_fini(&list); }

  void model(const std::string& name) {
    machine.file("/etc/sys_info", "[product]\ntype=" + name + "\n");
  }

  /// The disk driver's file of one host; its disks stand from the tenth line.
  void host(const std::string& number, const std::string& place, const std::string& disk_lines) {
    machine.file("/proc/scsi/mvSata/" + number,
                 "Adapter\nHost\nChip\nFirmware\nPCI location: " + place +
                     "\nPorts: 8\nLink\nQueue\nNo Port Unit Device\n" + disk_lines);
  }
  static std::string disk_line(int port, int unit, const std::string& device) {
    return "0 " + std::to_string(port) + " " + std::to_string(unit) +
           " disk 3.0Gb/s NCQ 32 UDMA6 online " + device + "\n";
  }

  /// From now on a signal ends the shell of every command.
  void shell_is_killed() {
    machine.remove("/bin/sh");
    machine.file("/bin/sh", "#!/.sandbox/bin/bash\nkill -9 $$\n", 0755);
  }

  void sysfs(const std::string& name, const std::string& sectors, const std::string& state,
             const std::string& disk_model) {
    const std::string directory = "/sys/block/" + name;
    machine.file(directory + "/size", sectors);
    machine.file(directory + "/device/state", state);
    machine.file(directory + "/device/model", disk_model);
  }

  tag_disk_info& add(const char* name, int ch, const char* enclosure) {
    auto* const disk = static_cast<tag_disk_info*>(std::malloc(sizeof(tag_disk_info)));
    disk_conf_init(disk);
    liborv_strncpy(disk->name, sizeof disk->name, name);
    disk->ch = ch;
    liborv_strncpy(disk->enclosure, sizeof disk->enclosure, enclosure);
    disk->list = {&list.list, list.list.prev};
    list.list.prev->next = &disk->list;
    list.list.prev = &disk->list;
    return *disk;
  }

  std::vector<tag_disk_info*> disks() {
    std::vector<tag_disk_info*> found;
    for (list_node* node = list.list.next; node != &list.list; node = node->next) {
      char* const start = reinterpret_cast<char*>(node) - offsetof(tag_disk_info, list);
      found.push_back(reinterpret_cast<tag_disk_info*>(start));
    }
    return found;
  }

  /// Name, channel and enclosure of every disk, as in "sda 1@0".
  sandbox::lines places() {
    sandbox::lines all;
    for (const tag_disk_info* disk : disks()) {
      all.push_back(std::string(disk->name) + " " + std::to_string(disk->ch) + "@" +
                    disk->enclosure);
    }
    return all;
  }

  tag_diskinfo_list list;
};

#endif
