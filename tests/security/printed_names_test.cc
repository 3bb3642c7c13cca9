/// Names that tools print are a stranger's: a disk from another machine brings its own groups.
/// Tools print strange names, and every exported function is called: what it then runs has each
/// name, as it was read, as one word.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "tests/sandbox/libc.h"
#include "tests/sandbox/programs/records.h"
#include "tests/sandbox/sandbox.h"
#include "tests/security/command_check.h"
#include "tests/security/functions.h"
#include "tests/security/injection_machine.h"
#include "tests/security/shells.h"
#include "tests/security/texts.h"
#include "tests/security/watched_files.h"

namespace {

using security::shown;
using security::words;

constexpr char mark[] = "Qmark";
constexpr char line_end[] = "\n";

/// A word of a command is one of a form, in which a piece of the name stands at each mark. What is
/// behind a blank of a name, say, may be another name to its reader.
bool fits(std::string_view word, std::string_view form, const std::string& name) {
  const std::size_t place = form.find(mark);
  if (place == form.npos) return word == form;
  if (!word.starts_with(form.substr(0, place))) return false;
  word.remove_prefix(place);
  form.remove_prefix(place + std::string_view(mark).size());
  for (std::size_t size = 1; size <= word.size(); ++size) {
    if (name.find(word.substr(0, size)) == name.npos) return false;
    if (fits(word.substr(size), form, name)) return true;
  }
  return false;
}

bool fits(const words& command, const words& form, const std::string& name) {
  return std::equal(
      command.begin(), command.end(), form.begin(), form.end(),
      [&](const std::string& word, const std::string& part) { return fits(word, part, name); });
}

std::string group(const std::string& name) {
  return "  " + name + ":r/w:772:-1:0:1:1:-1:0:1:1:104857600:4096:25600:0:25600:uuid\n";
}

std::string volume(const std::string& device, const std::string& its_group) {
  return "  " + device + ':' + its_group + ":20971520:-1:8:8:-1:4096:2560:2560:0:uuid\n";
}

std::string pool(const std::string& its_group, const std::string& name) {
  return "  /dev/" + its_group + '/' + name + ':' + its_group +
         ":3:1:-1:0:20971520:25:-1:0:-1:253:0\n";
}

std::string replaced(std::string text, const std::string& old, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(old, at)) != text.npos; at += with.size()) {
    text.replace(at, old.size(), with);
  }
  return text;
}

/// What a tool prints on a machine on which everything has this name, beside the usual things.
std::string printed(const words& command, const std::string& name) {
  const std::string& tool = command.at(0);
  const std::string usual = security::printed_by(command, "");
  if (tool == "cat") {
    return usual +
           replaced(replaced(replaced(usual, "md7", name), "third", name), "*sdf", '*' + name);
  }
  if (tool == "/usr/local/bin/hotspare") return "Global hotspare disk: " + name + ",sdf\n";
  if (tool == "/sbin/mdadm" && command.at(1) == "--detail") {
    return usual + "              Name : " + name + "\n       0  8  0  0  active sync  /dev/" +
           name + '\n';
  }
  if (tool == "/sbin/vgdisplay") return group("vg0") + group(name);
  if (tool == "/sbin/pvdisplay") {
    return volume("/dev/md0", "vg0") + volume("/dev/" + name, "vg0") + volume("/dev/md7", name) +
           volume(name, name);
  }
  if (tool == "/sbin/lvdisplay") return pool("vg0", "lv0") + pool("vg0", name) + pool(name, "lv0");
  if (tool == "/usr/local/bin/arcadm") {
    return usual + name + " /5 /64K /normal /1862 GB /" + name + " / #1 #2\n0 /" + name +
           "/931/normal/Raid\n";
  }
  if (tool == "/bin/busybox") return name + '\n';
  if (tool.ends_with("smbstatus") || tool == "netstat" || tool == "ps") {
    return "first 4711 " + name + " Mon Jan  1\ntcp 0 0 " + name + ":445 " + name +
           ":1000 ESTABLISHED\n4711 " + name + ' ' + name + " (10.0.0.1)\n";
  }
  return usual;
}

}  // namespace

class printed_names : public sandbox_test {
 protected:
  printed_names() : shell_([this](const words& command) { return printed(command, name_); }) {
    security::furnish(machine);
    EXPECT_EQ(chdir("/scratch"), 0);
    files_ = std::make_unique<security::watched_files>(std::vector<std::string>{
        "/", "/etc", "/home", "/mnt", "/proc", "/root", "/scratch", "/sys", "/tmp", "/var"});
  }
  ~printed_names() override { EXPECT_EQ(chdir("/"), 0); }

  /// The commands of a usual call on a machine of such names.
  std::vector<words> commands_of(const security::driven_call& call, const std::string& name) {
    name_ = name;
    put_kernel_files();
    call.call({});
    const auto runs = shell_.take_runs();
    const auto forms = security::documented_form(runs);
    for (const auto& run : runs) lines_.emplace(sandbox::libc::with_templates(run.text), run);
    shell_.take_log();
    files_->restore(files_->changed());
    sandbox::libc::reset();
    return forms;
  }

  void put_kernel_files() {
    machine.file("/proc/mounts", "/dev/vg0/lv0 /mnt/a xfs rw 0 0\n/dev/" + name_ +
                                     "/lv0 /mnt/b xfs "
                                     "rw 0 0\n");
    machine.file("/proc/partitions",
                 "major minor  #blocks  name\n\n   8 0 1024 sda\n   8 1 1024 " + name_ + '\n');
  }

  /// The forms of the commands of a call: from names of the kinds that tools print, and from one
  /// that breaks the lines that have it, as strange ones do.
  std::set<words> forms_of(const security::driven_call& call) {
    std::set<words> forms;
    for (const char* const name : {"plain", line_end, "sdQmark", "mdQmark", "/Qmark", "Qmark"}) {
      for (words form : commands_of(call, name)) {
        for (std::string& word : form) {
          if (name != line_end) word = replaced(word, name, mark);
        }
        reaches_ = reaches_ || std::any_of(form.begin(), form.end(), [](const std::string& word) {
                     return word.find(mark) != word.npos;
                   });
        forms.insert(form);
      }
    }
    return forms;
  }

  void drive(const security::driven_call& call) {
    reaches_ = false;
    const std::set<words> forms = forms_of(call);
    if (!reaches_) return;
    reached_.insert(call.name);
    const auto texts = security::attack_texts();
    constexpr std::size_t step = 6;  // at another call others
    for (std::size_t i = reached_.size() % step; i < texts.size(); i += step) {
      for (const std::string& name : {texts[i], "sd" + texts[i], "md" + texts[i]}) {
        for (const words& command : commands_of(call, name)) check(call, command, forms, name);
      }
    }
  }

  void check(const security::driven_call& call, const words& command, const std::set<words>& forms,
             const std::string& name) {
    ++commands_;
    const bool is_known = std::any_of(forms.begin(), forms.end(),
                                      [&](const words& form) { return fits(command, form, name); });
    if (is_known || !faulty_.insert(call.signature).second) return;
    std::string told;
    for (const std::string& word : command) told += ' ' + shown(word);
    ADD_FAILURE() << call.signature << " of " << shown(name) << " ran" << told;
  }

  void let_shells_read() {
    std::vector<security::run_line> all;
    for (const auto& [text, run] : lines_) {
      if (!run.commands.empty()) all.push_back(run);
    }
    for (const auto& shell : security::known_shells()) {
      EXPECT_EQ(security::difference(shell, all), "") << shell.name;
    }
    const auto plain = security::read_plain(all);
    EXPECT_EQ(plain.misread, "");
    EXPECT_GT(plain.count, 0);
    EXPECT_LT(plain.count, static_cast<int>(all.size()));
  }

  std::string name_;
  security::shell_stand_in shell_;
  std::unique_ptr<security::watched_files> files_;
  std::map<std::string, security::run_line> lines_;
  std::set<std::string> reached_;
  std::set<std::string> faulty_;
  bool reaches_ = false;
  int commands_ = 0;
};

TEST_F(printed_names, are_words_of_further_commands) {
  for (const auto& call : security::all_functions()) drive(*call);
  let_shells_read();
  std::string all;
  for (const std::string& name : reached_) all += ' ' + name;
  std::fprintf(stderr, "%d commands, %zu lines, of%s\n", commands_, lines_.size(), all.c_str());
  EXPECT_GT(reached_.size(), 0U);
}
