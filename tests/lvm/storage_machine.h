#ifndef ORV_TESTS_LVM_STORAGE_MACHINE_H
#define ORV_TESTS_LVM_STORAGE_MACHINE_H

#include <orv.h>

#include <string>

#include "common/families.h"
#include "common/text.h"
#include "tests/sandbox/sandbox.h"

/// A machine with disks, arrays, volume groups and pools that the test tells; it begins with none.
/// What its tools list stands in files below /canned.
class storage_machine : public sandbox_test {
 protected:
  storage_machine() {
    machine.directory("/proc/scsi/mvSata");
    machine.tool("cat").is_real();
    model("KTA7120X");
    arrays_are("");
    hot_spares_are("");
    lists("/usr/local/bin/hotspare", "--list", "hotspare");
    lists("/sbin/vgdisplay", "-c", "vgdisplay");
    lists("/sbin/pvdisplay", "-c", "pvdisplay");
    lists("/sbin/lvdisplay", "-c", "lvdisplay");
    machine.tool("/sbin/mdadm").on("--detail *").runs("cat /canned$2 2> /dev/null").if_asked();
    for (const char* list : {"vgdisplay", "pvdisplay", "lvdisplay"}) canned(list, "");
  }

  void model(const std::string& name) {
    machine.file("/etc/sys_info", "[product]\ntype=" + name + "\n");
  }

  /// What a tool lists from now on.
  void canned(const std::string& list, const std::string& text) {
    machine.file("/canned/" + list, text);
  }
  /// From now on the tool prints its list and then fails, with exit code 1.
  void fails_to_list(const std::string& list) { canned(list + ".fails", ""); }

  void hot_spares_are(const std::string& names) {
    canned("hotspare", "Global hotspare disk: " + names + "\n");
  }

  /// A disk in a bay of the main chassis or of the first expansion enclosure.
  void disk(const std::string& name, int channel, bool in_expansion = false) {
    const int port = in_expansion ? (channel - 1) / 4 : 0;
    const int unit = in_expansion ? (channel - 1) % 4 : channel - 1;
    machine.file("/proc/scsi/mvSata/" + std::to_string(hosts_++),
                 std::string("PCI location: bus ") + (in_expansion ? "2, slot 1" : "1, slot 4") +
                     "\n\n\n\n\n\n\n\n\n0 " + std::to_string(port) + " " + std::to_string(unit) +
                     " 3 4 5 6 7 8 " + (in_expansion ? "*" : "") + name + "\n");
  }

  /// An array whose members are given with their state in sysfs: "sda in_sync".
  void array(const std::string& name, const sandbox::lines& members) {
    arrays_are(arrays_ + name + " : active raid1\n");
    canned("dev/" + name,
           "     Raid Level : raid1\n     Array Size : 1048576 (1.00 GiB)\n"
           "          State : clean\n");
    const std::string md = "/sys/block/" + name + "/md/";
    machine.file(md + "raid_disks", std::to_string(members.size()) + "\n");
    for (const std::string& member : members) {
      const std::size_t blank = member.find(' ');
      machine.file(md + "dev-" + member.substr(0, blank) + "/state", member.substr(blank + 1));
    }
  }
  void arrays_are(const std::string& lines_of_mdstat) {
    arrays_ = lines_of_mdstat;
    machine.file("/proc/mdstat", "Personalities : [raid1]\n" + arrays_);
  }

  /// A volume group of so many GiB; its extents are of 4 MiB.
  void group(const std::string& name, int size = 100, int used = 0) {
    groups_ += "  " + name + ":r/w:772:-1:0:0:0:-1:0:1:1:" + std::to_string(size * 1048576) +
               ":4096:25600:" + std::to_string(used * 256) + ":1:uuid\n";
    canned("vgdisplay", groups_);
  }
  /// A physical volume of 10 GiB.
  void volume(const std::string& device, const std::string& group) {
    volumes_ += "  " + device + ":" + group + ":20971520:-1:8:8:-1:4096:2560:2560:0:uuid\n";
    canned("pvdisplay", volumes_);
  }
  /// A pool of so many GiB.
  void pool(const std::string& name, const std::string& group, int size = 10) {
    pools_ += "  /dev/" + group + "/" + name + ":" + group +
              ":3:1:-1:0:" + std::to_string(size * 2097152) + ":25:-1:0:-1:253:0\n";
    canned("lvdisplay", pools_);
  }

  /// A tool that changes something; it succeeds.
  sandbox::fake_tool& changer(const std::string& path) {
    sandbox::fake_tool& tool = machine.tool(path);
    tool.succeeds();
    return tool;
  }
  void changers(const sandbox::lines& paths) {
    for (const std::string& path : paths) changer(path);
  }

  /// The commands that were run, but for those whose output was captured.
  sandbox::lines changes() const {
    sandbox::lines changing;
    for (const std::string& command : machine.commands()) {
      if (command.find("> /tmp/") == std::string::npos) changing.push_back(command);
    }
    return changing;
  }

 private:
  void lists(const std::string& tool, const std::string& arguments, const std::string& list) {
    const std::string file = "/canned/" + list;
    machine.tool(tool)
        .on(arguments)
        .runs("cat " + file + "; test ! -e " + file + ".fails")
        .if_asked();
  }

  int hosts_ = 0;
  std::string arrays_;
  std::string groups_;
  std::string volumes_;
  std::string pools_;
};

inline tag_pv_info& first_volume(tag_vg_info& vg) { return *orv::records(&vg.pvs).begin(); }

/// Matches the log line of a command that exited with a code; the reason is left over from whatever
/// call of the C library failed last.
inline auto failed_command(const std::string& command, int exit_code = 1) {
  return testing::StartsWith("system(\"" + command + "\") return normal with exit(" +
                             std::to_string(exit_code) + ") for '");
}

/// The log line of a command that was not run.
inline std::string command_not_run(const std::string& command, const std::string& reason) {
  return "system(\"" + command + "\") return normal with exit(127) for '" + reason + "'";
}

/// Things that a volume group or pool must not be named, and how they reach a tool: as one word.
struct hostile_name {
  const char* name;
  const char* word;
};
inline constexpr hostile_name hostile_names[] = {
    {"a b", "'a b'"},       {"a;reboot", "'a;reboot'"}, {"$(reboot)", "'$(reboot)'"},
    {"it's", "'it'\\''s'"}, {"a\nb", "'a\nb'"},         {"\"a\"", "'\"a\"'"},
};

#endif
