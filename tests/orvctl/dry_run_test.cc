#include <orv/support.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "tests/orvctl/appliance_with_shares.h"
#include "tools/orvctl/rehearsal.h"

using orvctl::json;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;

namespace {

/// Every file of the machine with its content, mode and time of change, but for what the sandbox
/// and the fake tools note themselves.
using picture = std::map<std::string, std::string>;

picture picture_of_machine() {
  picture all;
  std::filesystem::recursive_directory_iterator at("/");
  for (const auto& entry : at) {
    const std::string path = entry.path();
    if (path == "/.sandbox" || path == "/dev" || path == "/told") {
      at.disable_recursion_pending();
      continue;
    }
    struct stat found {};
    ::lstat(path.c_str(), &found);
    std::string seen = std::to_string(found.st_mode) + " " + std::to_string(found.st_uid) + " " +
                       std::to_string(found.st_mtim.tv_sec) + "." +
                       std::to_string(found.st_mtim.tv_nsec) + std::string(1, '\0');
    if (S_ISREG(found.st_mode)) {
      std::ifstream file(path);
      seen.append(std::istreambuf_iterator<char>(file), {});
    }
    all[path] = seen;
  }
  return all;
}

/// A changing command, and what it needs to get as far as changing something.
struct changing_command {
  const char* words;
  void (*prepare)(class rehearsed_machine&);

  /// In the name of a test.
  friend std::ostream& operator<<(std::ostream& to, const changing_command& each) {
    return to << each.words;
  }
};

/// The appliance with shares in and out of use, users, and everything else that the commands
/// change.
class rehearsed_machine : public appliance_with_shares {
 public:
  rehearsed_machine() {
    machine.file("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\nann:x:1000:1000::/:/bin/nologin\n");
    machine.file("/etc/shadow", "root:*:19000:0:99999:7:::\nann:!:19000:0:99999:7:::\n", 0640);
    machine.file("/etc/group", "root:x:0:\nann:x:1000:\n");
    machine.file("/etc/hostname", "before");
    machine.file("/etc/vsftpd.conf", "max_clients=3\nlocal_max_rate=0\nmax_per_ip=1\n");
    machine.file("/etc/lvm/backup/vg1",
                 "vg1 {\n\tid = \"GROUP\"\n\tphysical_volumes {\n\t\tpv0 {\n"
                 "\t\t\tid = \"VOLUME\"\n\t\t\tdevice = \"/dev/md0\"\t# Hint only\n");
    for (const char* tool : tools) machine.tool(tool).succeeds().if_asked();
    machine.tool("/usr/local/bin/hotspare")
        .on("-a ...")
        .runs("echo 'Global hotspare disk: sdd sdb' > /told/spares")
        .if_asked();
    machine.tool("/usr/local/bin/hotspare")
        .on("-r ...")
        .runs("echo 'Global hotspare disk:' > /told/spares")
        .if_asked();
    machine.tool("/sbin/mdadm").on("...").if_asked();
    machine.tool("mv").is_real();
    put_shares();
    machine.file("/var/lib/orv/kept/etc/exports", "/mnt/kept *(rw)\n");
    machine.forget();
  }

  void nothing_is_used() {
    machine.file("/proc/mdstat", "Personalities : [raid5]\n");
    for (const char* list : {"groups", "volumes", "pools"}) tell(list, "");
    tell("spares", "Global hotspare disk:\n");
  }
  void no_pools() {
    tell("pools", "");
    tell("groups", "  vg1:r/w:772:-1:0:0:0:-1:0:1:1:1953255424:4096:476869:0:476869:u\n");
  }
  void a_member_is_lost() { machine.file("/sys/block/md0/md/dev-sdb/state", "faulty\n"); }
  void an_array_is_inactive() {
    machine.remove("/sys/block/md0/md/dev-sdb");
    machine.remove("/sys/block/md0/md/dev-sdc");
  }

  /// The commands that were given to the shell and do not only ask.
  sandbox::lines changing() const {
    sandbox::lines all;
    for (const std::string& command : machine.commands()) {
      if (!orvctl::only_asks(command)) all.push_back(command);
    }
    return all;
  }

 private:
  static constexpr const char* tools[] = {"/usr/local/bin/diskformat",
                                          "/sbin/pvcreate",
                                          "/sbin/pvremove",
                                          "/sbin/vgcreate",
                                          "/sbin/vgextend",
                                          "/sbin/vgremove",
                                          "/sbin/vgcfgrestore",
                                          "/sbin/lvcreate",
                                          "/sbin/lvextend",
                                          "/sbin/lvremove",
                                          "/sbin/mkfs.xfs",
                                          "/usr/bin/smbpasswd",
                                          "/etc/init.d/samba",
                                          "mount",
                                          "umount",
                                          "mkdir",
                                          "rm",
                                          "chmod",
                                          "chattr",
                                          "adduser",
                                          "userdel",
                                          "smbpasswd",
                                          "reboot",
                                          "poweroff",
                                          "hwclock",
                                          "ps",
                                          "halt",
                                          "shutdown"};

  void put_shares() {
    done("share add files --service samba --path /mnt/files --users ann --read-only");
    done("share add export --service nfs --path /mnt/export --clients 10.0.0.0/8");
    done("share add old --service samba --path /mnt/old");
    done("share disable old");
  }
};

constexpr changing_command commands[] = {
    {"disk clear 4 --enclosure 1", nullptr},
    {"spare add 2 --enclosure 1", nullptr},
    {"spare remove 4 --enclosure 1", nullptr},
    {"raid create --level raid5 --disks 1,2,3 --enclosure 1",
     [](rehearsed_machine& machine) { machine.nothing_is_used(); }},
    {"raid recreate md0 --level raid5 --disks sdc,sda,sdb", nullptr},
    {"raid add md0 4", nullptr},
    {"raid remove md0 2", [](rehearsed_machine& machine) { machine.a_member_is_lost(); }},
    {"raid fail md0 2", nullptr},
    {"raid fail-all md0", nullptr},
    {"raid destroy md1", nullptr},
    {"vg create vg2 --pv md1", nullptr},
    {"vg extend vg1 md1 --enclosure 1", nullptr},
    {"vg destroy vg1", [](rehearsed_machine& machine) { machine.no_pools(); }},
    {"vg repair vg1", [](rehearsed_machine& machine) { machine.an_array_is_inactive(); }},
    {"vg resume vg1 md0", nullptr},
    {"vg restore vg1", nullptr},
    {"pool create vg1 new 100", nullptr},
    {"pool extend vg1 data 501", nullptr},
    {"pool destroy vg1 data", nullptr},
    {"pool mkfs vg1 data", nullptr},
    {"fs mount /mnt/new vg1 data", nullptr},
    {"fs umount /mnt/data", nullptr},
    {"fs mkdir /mnt/new", nullptr},
    {"fs rmdir /mnt/new", nullptr},
    {"fs table-add /mnt/new vg1 new", nullptr},
    {"fs table-remove /mnt/data", nullptr},
    {"share add docs --service samba --path /mnt/docs --users ann", nullptr},
    {"share modify files --comment Files", nullptr},
    {"share delete files", nullptr},
    {"share disable files", nullptr},
    {"share enable old --service samba", nullptr},
    {"share forget old", nullptr},
    {"recycle modify old --users ann", nullptr},
    {"recycle delete old", nullptr},
    {"service start samba", nullptr},
    {"service stop samba", nullptr},
    {"service restart samba", nullptr},
    {"ftp-limit set --clients 20", nullptr},
    {"user add bob", nullptr},
    {"user modify ann --name anna", nullptr},
    {"user delete ann", nullptr},
    {"host set nas7", nullptr},
    {"clock set 2010-03-01 08:00:01", nullptr},
    {"power off", nullptr},
    {"power reboot", nullptr},
    {"system processes /mnt/processes", nullptr},
    {"conf restore /etc/exports", nullptr},
};

/// Command lines with the random names of temporary files left out.
sandbox::lines without_names(sandbox::lines commands_run) {
  for (std::string& line : commands_run) {
    const std::size_t name = line.find("/tmp/");
    if (name != std::string::npos) line.replace(name, line.find(' ', name) - name, "TEMPORARY");
  }
  return commands_run;
}

/// The settings that are not what they were; a file that was only written anew is.
std::set<std::string> changed_since(const picture& before) {
  std::set<std::string> changed;
  const auto content = [](const std::string& seen) { return seen.substr(seen.rfind('\0') + 1); };
  const picture now = picture_of_machine();
  for (const auto& [path, seen] : now) {
    if (!path.starts_with("/etc/") || std::filesystem::is_directory(path)) continue;
    const auto then = before.find(path);
    if (then == before.end() || content(then->second) != content(seen)) changed.insert(path);
  }
  for (const auto& [path, seen] : before) {
    if (path.starts_with("/etc/") && !now.contains(path)) changed.insert(path);
  }
  return changed;
}

class every_change : public rehearsed_machine,
                     public testing::WithParamInterface<changing_command> {
 protected:
  every_change() {
    if (GetParam().prepare != nullptr) GetParam().prepare(*this);
  }

  /// The same for real; the password is the one that a plan shows.
  static outcome really() {
    const std::string words = GetParam().words;
    const bool asks = run(split(words + " --help"), "", false).out.find("--yes") != words.npos;
    return run(split(words + (asks ? " --yes" : "")), "***\n", false);
  }

  static sandbox::lines texts(const json& steps, const std::string& kind) {
    sandbox::lines all;
    for (const json& step : steps) {
      if (step["kind"] == kind) all.push_back(step["text"]);
    }
    return all;
  }

  /// Does it, and compares that with the plan.
  void expect_done_as_planned(const json& plan, const picture& before) {
    machine.forget();
    EXPECT_EQ(really().status, 0);
    EXPECT_EQ(without_names(changing()), without_names(texts(plan["steps"], "command")));
    // Here the tools that make accounts do nothing, and so their files stay as they are.
    if (std::string(GetParam().words).starts_with("user ")) return;
    std::set<std::string> foreseen;
    for (const json& file : plan["files"]) foreseen.insert(file["path"]);
    EXPECT_EQ(changed_since(before), foreseen);
  }

  static json dry_run() {
    const outcome got = run(split(std::string(GetParam().words) + " --dry-run --json"), "", false);
    EXPECT_EQ(got.status, 0) << got.out << got.err;
    return json::parse(got.out);
  }
};

std::string name_of(const testing::TestParamInfo<changing_command>& command) {
  std::string name = command.param.words;
  for (char& letter : name) {
    if (std::isalnum(static_cast<unsigned char>(letter)) == 0) letter = '_';
  }
  return name;
}

}  // namespace

// Nothing is changed; and what the plan says is what happens then.
TEST_P(every_change, changes_nothing_in_a_dry_run_and_then_what_its_plan_says) {
  char host_before[65] = "";
  char host_after[65] = "";
  ::gethostname(host_before, sizeof host_before);
  const picture before = picture_of_machine();
  const json document = dry_run();
  EXPECT_EQ(picture_of_machine(), before);
  EXPECT_THAT(changing(), IsEmpty());
  ::gethostname(host_after, sizeof host_after);
  EXPECT_STREQ(host_after, host_before);
  EXPECT_FALSE(document.contains("result")) << "nothing was done";
  const json& plan = document["plan"];
  EXPECT_FALSE(plan["steps"].empty() && plan["files"].empty()) << "the plan is empty";
  // The clock of the machine that runs the tests stays.
  if (!std::string(GetParam().words).starts_with("clock")) expect_done_as_planned(plan, before);
}

INSTANTIATE_TEST_SUITE_P(dry_run, every_change, testing::ValuesIn(commands), name_of);

namespace {

class dry_run : public rehearsed_machine {
 protected:
  static sandbox::lines names_in(const std::string& message) {
    const std::size_t start = message.find("one of ");
    EXPECT_NE(start, std::string::npos) << message;
    std::string names = message.substr(start + 7, message.find('\n', start) - start - 7);
    names.erase(std::remove(names.begin(), names.end(), ','), names.end());
    return split(names);
  }
  static bool can_rehearse(const std::string& command) {
    return orvctl(command + " --help").out.find("--dry-run") != std::string::npos;
  }
  static bool is_tested(const std::string& command) {
    return std::any_of(std::begin(commands), std::end(commands), [&](const auto& each) {
      return std::string(each.words).starts_with(command + " ") || each.words == command;
    });
  }
};

}  // namespace

TEST_F(dry_run, is_tested_for_every_command_that_has_it) {
  int tested = 0;
  for (const std::string& noun : names_in(orvctl("").err)) {
    const outcome of_noun = orvctl(noun + " --help");
    if (of_noun.out.find("SUBCOMMAND") == std::string::npos) {
      EXPECT_FALSE(can_rehearse(noun)) << noun;
      continue;
    }
    for (const std::string& verb : names_in(orvctl(noun).err)) {
      const std::string command = noun + " " + verb;
      EXPECT_EQ(can_rehearse(command), is_tested(command)) << command;
      tested += is_tested(command) ? 1 : 0;
    }
  }
  EXPECT_EQ(tested, static_cast<int>(std::size(commands)));
}

// A command that changes something says so by what it asks about, or by its verb.
TEST_F(dry_run, is_there_wherever_a_question_is) {
  for (const std::string& noun : names_in(orvctl("").err)) {
    if (orvctl(noun + " --help").out.find("SUBCOMMAND") == std::string::npos) continue;
    for (const std::string& verb : names_in(orvctl(noun).err)) {
      const std::string help = orvctl(noun + " " + verb + " --help").out;
      if (help.find("--yes") != std::string::npos) {
        EXPECT_THAT(help, HasSubstr("--dry-run")) << noun << " " << verb;
      }
    }
  }
}

TEST_F(dry_run, shows_what_would_be_lost_the_commands_and_the_files) {
  const outcome got = orvctl("disk clear 4 --enclosure 1 --dry-run");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "This was a dry run: nothing was changed.\n");
  EXPECT_EQ(got.out,
            "CHANNEL DEVICE    SIZE MODEL        USED BY\n"
            "      4 sdd    932 GiB ST31000340NS hot spare\n"
            "All data on these disks will be lost.\n\n"
            "Would be done, in this order:\n"
            "  $ /usr/local/bin/diskformat /dev/sdd\n\n"
            "No settings file would be changed.\n");
}

TEST_F(dry_run, shows_how_files_would_change) {
  const outcome got = orvctl("fs table-add /mnt/new vg1 new --dry-run");
  EXPECT_THAT(got.out, HasSubstr("Would be written:\n  /etc/mdfstab (changed)\n"));
  EXPECT_THAT(got.out, HasSubstr("    +/dev/vg1/new\t/mnt/new\txfs\tdefaults\t0 0\n"));
  EXPECT_THAT(got.out, HasSubstr("keep a copy of /etc/mdfstab"));
}

TEST_F(dry_run, shows_calls_of_the_system) {
  EXPECT_THAT(orvctl("host set nas7 --dry-run").out, HasSubstr("  set the host name to nas7\n"));
  EXPECT_THAT(orvctl("clock set 2010-03-01 08:00:01 --dry-run").out,
              HasSubstr("  set the clock to 2010-03-01 08:00:01\n  $ hwclock -u -w\n"));
}

TEST_F(dry_run, asks_nothing_and_shows_no_password) {
  const outcome got = at_terminal("user add bob --dry-run", "");
  EXPECT_EQ(got.status, 0) << got.err;
  EXPECT_EQ(got.err, "This was a dry run: nothing was changed.\n");
  EXPECT_THAT(got.out, HasSubstr("$ echo -e \"***\n***\" | /usr/bin/smbpasswd -a -s bob\n"));
  EXPECT_THAT(got.out, HasSubstr("/etc/shadow (changed)\n    (holds passwords, and is not shown)"));
  EXPECT_THAT(got.out, Not(HasSubstr("secret of ann")));
  EXPECT_EQ(at_terminal("pool destroy vg1 data --dry-run", "").status, 0);
}

TEST_F(dry_run, makes_the_checks) {
  const picture before = picture_of_machine();
  const outcome got = orvctl("vg destroy vg1 --dry-run");
  EXPECT_EQ(got.status, 4) << "it holds a pool";
  EXPECT_EQ(got.out, "");
  EXPECT_THAT(got.err, HasSubstr("orvctl: vg destroy: ORV_E_"));
  const outcome missing = orvctl("share delete none --dry-run --json");
  EXPECT_EQ(missing.status, 3);
  EXPECT_EQ(json::parse(missing.out)["error"]["name"], "ORV_E_NO_SHARE");
  EXPECT_EQ(picture_of_machine(), before);
}

TEST_F(dry_run, is_refused_by_commands_that_change_nothing) {
  EXPECT_EQ(orvctl("raid list --dry-run").status, 2);
  EXPECT_EQ(orvctl("user check ann --dry-run").status, 2);
}

// A link in /etc may lead to settings elsewhere: they are not written either.
TEST_F(dry_run, leaves_settings_alone_that_a_link_leads_to) {
  machine.file("/mnt/settings/hostname", "before");
  machine.remove("/etc/hostname");
  machine.link("/etc/hostname", "/mnt/settings/hostname");
  const picture before = picture_of_machine();
  const outcome got = orvctl("host set nas7 --dry-run");
  EXPECT_THAT(got.out,
              HasSubstr("/etc/hostname (changed)\n    @@ -1 +1 @@\n    -before\n    +nas7"));
  EXPECT_EQ(picture_of_machine(), before);
}

TEST_F(dry_run, sees_what_others_keep_in_the_temporary_folder) {
  machine.file("/tmp/nas_state.conf", "[misc]\nproduct=KTA7120X\n");
  machine.directory("/tmp/folder");
  machine.file("/tmp/folder/file", "text");
  machine.link("/tmp/link", "folder");
  const picture before = picture_of_machine();
  EXPECT_EQ(orvctl("pool mkfs vg1 data --dry-run").status, 0);
  EXPECT_EQ(picture_of_machine(), before);
}

TEST(questions, are_known_by_their_whole_beginning_and_by_where_they_print) {
  EXPECT_TRUE(orvctl::only_asks("cat /proc/mdstat > /tmp/mdstat.a1b2c3"));
  EXPECT_TRUE(orvctl::only_asks("/sbin/mdadm --detail /dev/md0 > /tmp/md0.a1b2c3"));
  EXPECT_FALSE(orvctl::only_asks("cat /proc/mdstat > /etc/mdfstab"));
  EXPECT_FALSE(orvctl::only_asks("cat /proc/mdstat"));
  EXPECT_FALSE(orvctl::only_asks("/sbin/mdadm -S /dev/md0 > /dev/null"));
  EXPECT_FALSE(orvctl::only_asks("ps aux > /tmp/processes"));
}
