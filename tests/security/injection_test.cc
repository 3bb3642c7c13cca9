/// Every exported function is called with texts that strangers might type, in every text argument.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>

#include "tests/sandbox/libc.h"
#include "tests/sandbox/sandbox.h"
#include "tests/security/command_check.h"
#include "tests/security/file_lines.h"
#include "tests/security/functions.h"
#include "tests/security/injection_machine.h"
#include "tests/security/shells.h"
#include "tests/security/texts.h"
#include "tests/security/watched_files.h"

namespace {

using security::driven_call;
using security::shown;
using security::text_place;
using security::texts;

/// The text as it is in a string or field of the call.
std::string as_taken(const std::string& text, const text_place& place) {
  const std::string whole = text.substr(0, text.find('\0'));
  return place.capacity == 0 ? whole : whole.substr(0, place.capacity - 1);
}

/// The path that a text names, from the folder in which the test runs.
std::string resolved(const std::string& text) {
  return (std::filesystem::path("/scratch") / text).lexically_normal().string();
}

}  // namespace

class injection : public sandbox_test {
 protected:
  injection()
      : shell_([this](const auto& command) { return security::printed_by(command, known_name_); }) {
    security::furnish(machine);
    EXPECT_EQ(chdir("/scratch"), 0);
    // All that the machine has but "/.sandbox", where its own programs are.
    files_ = std::make_unique<security::watched_files>(
        std::vector<std::string>{"/", "/bin", "/dev", "/etc", "/home", "/mnt", "/proc", "/root",
                                 "/sbin", "/scratch", "/sys", "/tmp", "/told", "/usr", "/var"});
  }
  ~injection() override { EXPECT_EQ(chdir("/"), 0); }

  void drive_table(void (*add)(security::call_table&)) {
    security::call_table table;
    add(table);
    const auto [part, parts] = wanted_part();
    int driven = 0;
    for (const auto& call : table) {
      for (std::size_t place = 0; place < call->places.size(); ++place) {
        if (++places_ % parts != part) continue;
        drive_place(*call, place);
        ++driven;
      }
    }
    EXPECT_GT(driven, 0);
    EXPECT_EQ(faults_, 0);
    let_shells_read();
    std::fprintf(stderr, "%d text arguments, %d calls, %zu command lines\n", driven, calls_,
                 lines_.size());
  }

  /// With "1/3" in the environment only every third argument is driven, from the first on; with
  /// "0/3" from the third on.
  static std::pair<int, int> wanted_part() {
    const char* const wanted = std::getenv("ORV_SECURITY_PART");
    int part = 0;
    int parts = 1;
    if (wanted != nullptr &&
        (std::sscanf(wanted, "%d/%d", &part, &parts) != 2 || part < 0 || part >= parts)) {
      throw std::invalid_argument("ORV_SECURITY_PART");
    }
    return {part, parts};
  }

  /// All of them when the environment asks for it. Otherwise a call that asks many questions before
  /// it does something, or is one of `samples_`, gets some only, at another place others; one that
  /// runs nothing gets pairs of the telling bytes too.
  texts chosen(std::size_t commands) const {
    const bool every = std::getenv("ORV_SECURITY_ALL") != nullptr;
    constexpr std::size_t few = 2;
    texts all = security::attack_texts();
    const texts bytes = security::one_byte_texts();
    if (every || commands <= few) all.insert(all.end(), bytes.begin(), bytes.end());
    const texts pairs = every ? security::two_byte_texts() : security::telling_pairs();
    if (every || commands == 0) all.insert(all.end(), pairs.begin(), pairs.end());
    if (every || (commands <= few && !samples_)) return all;
    texts some;
    constexpr std::size_t step = 16;
    for (std::size_t i = static_cast<std::size_t>(places_) % step; i < all.size(); i += step) {
      some.push_back(all[i]);
    }
    return some;
  }

  void drive_place(const driven_call& call, std::size_t place) {
    security::allowed_commands allowed(call, call.places[place]);
    most_lines_.clear();
    const auto usual = commands_of(call, {});
    const std::string mark = allowed.marked_text();
    allowed.learn(usual, commands_of(call, {place, &mark}));
    for (const std::string& other : security::allowed_commands::other_marks()) {
      allowed.learn_also(commands_of(call, {place, &other}), other);
    }
    const std::size_t capacity = call.places[place].capacity;
    texts all = chosen(usual.size() + (call.changed.empty() ? 0 : 1));
    const texts long_ones = security::texts_at_limit(capacity == 0 ? 256 : capacity);
    all.insert(all.end(), long_ones.begin(), long_ones.end());
    for (const std::string& text : all) put(call, place, allowed, text);
    const bool expected =
        !call.word_places.empty() &&
        std::count(call.word_places.begin(), call.word_places.end(), call.places[place].id) > 0;
    EXPECT_TRUE(allowed.reaches_a_command() || !expected)
        << call.signature << call.places[place].id;
  }

  /// One call: its commands and its files are the documented ones.
  void put(const driven_call& call, std::size_t place, const security::allowed_commands& allowed,
           const std::string& text) {
    const text_place& where = call.places[place];
    const std::string taken = as_taken(text, where);
    known_name_ = call.is_known ? taken : "";
    call.call({place, &text});
    ++calls_;
    const auto runs = shell_.take_runs();
    shell_.take_log();
    const std::string fault = allowed.fault_in(security::documented_form(runs), taken);
    if (!fault.empty()) note(call, where, text, fault);
    if (text.size() <= longest_kept_) keep(runs);
    check_files(call, where, taken);
    sandbox::libc::reset();
  }

  std::vector<security::words> commands_of(const driven_call& call, const security::put_text& put) {
    known_name_ = call.is_known && put.text != nullptr ? *put.text : "";
    call.call(put);
    const auto forms = security::documented_form(shell_.take_runs());
    const auto changed = files_->changed();
    for (const std::string& path : changed) learn_lines(path);
    files_->restore(changed);
    for (const std::string& path : changed) learn_lines(path);
    sandbox::libc::reset();
    return forms;
  }

  void check_files(const driven_call& call, const text_place& where, const std::string& taken) {
    const auto changed = files_->changed();
    if (changed.empty()) return;
    const auto allowed = allowed_files(call, where, taken);
    for (const std::string& path : changed) {
      if (!is_allowed(path, allowed)) note(call, where, taken, "changed " + path);
      if (is_path_of(call, where) && path == resolved(taken)) continue;  // the caller's own file
      const std::string gained = gained_line(path, taken);
      if (!gained.empty()) note(call, where, taken, path + " gained a line " + gained);
    }
    files_->restore(changed);
  }

  void learn_lines(const std::string& path) {
    auto& most = most_lines_[path];
    for (const auto& [kind, count] : security::lines_of(path)) {
      most[kind] = std::max(most[kind], count);
    }
  }

  /// The kind of line of which a configuration file has more than a plain text gives it, or, where
  /// that leaves the file alone, more than it had; empty when there is none.
  std::string gained_line(const std::string& path, const std::string& taken) {
    const auto learned = most_lines_.find(path);
    if (!path.starts_with("/etc/")) return "";
    const auto most = learned != most_lines_.end()
                          ? learned->second
                          : security::lines_in(files_->original(path), path);
    for (const auto& [kind, count] : security::lines_of(path)) {
      const auto known = most.find(kind);
      int allowed = known == most.end() ? 0 : known->second;
      // The users of an iSCSI volume have a line each.
      if (kind == "IncomingUser") allowed += security::separators_in(taken);
      if (count > allowed) return '"' + kind + '"';
    }
    return "";
  }

  /// Whether the text is the path of a file that the caller names.
  static bool is_path_of(const driven_call& call, const text_place& where) {
    const auto& paths = call.path_places;
    return std::find(paths.begin(), paths.end(), where.id) != paths.end();
  }

  static std::set<std::string> allowed_files(const driven_call& call, const text_place& where,
                                             const std::string& taken) {
    std::set<std::string> allowed(call.changed.begin(), call.changed.end());
    if (!is_path_of(call, where)) {
      for (const char* const usual : {"copy", "lock", "conf", "backup", "processes"}) {
        allowed.insert(std::string("/scratch/") + usual);
      }
      return allowed;
    }
    allowed.insert(resolved(taken));
    allowed.insert("/var/lib/orv/kept" + resolved(taken));
    return allowed;
  }

  /// "/var/lib/orv/rewrites/DEVICE-INODE", its mark, or one that is being made.
  static bool is_companion(const std::string& path) {
    constexpr std::string_view folder = "/var/lib/orv/rewrites/";
    if (!path.starts_with(folder)) return false;
    const std::string name = path.substr(folder.size());
    const std::string rest =
        name.substr(std::min(name.find_first_not_of("0123456789-"), name.size()));
    return rest.empty() || rest == ".done" || rest == ".new";
  }

  /// A file of the list, or a folder on the way to one of them.
  static bool is_allowed(const std::string& path, const std::set<std::string>& allowed) {
    // Companions, locks, the lock of lckpwdf and the client's end of the alarm socket have names
    // that no argument reaches; the new host name stands there until it takes its place.
    constexpr const char* helpers[] = {"/etc/.pwd.lock",
                                       "/etc/hostname+",
                                       "/var/lib/orv/lock",
                                       "/var/lib/orv/lock/hostname",
                                       "/var/lib/orv/lock/mdfstab",
                                       "/var/lib/orv/lock/nas_userfile.conf",
                                       "/var/lib/orv/lock/vsftpd.conf",
                                       "/var/lib/orv/rewrites"};
    if (std::find(std::begin(helpers), std::end(helpers), path) != std::end(helpers)) return true;
    if (is_companion(path) || path == "/dev/alarm.socket." + std::to_string(getpid())) return true;
    if (allowed.contains(sandbox::libc::with_templates(path))) return true;
    const auto next = allowed.lower_bound(path + '/');
    return next != allowed.end() && next->starts_with(path + '/');
  }

  /// Keeps every line once, for the shells.
  void keep(const std::vector<security::run_line>& runs) {
    for (const security::run_line& run : runs) {
      if (!run.commands.empty()) lines_.emplace(sandbox::libc::with_templates(run.text), run);
    }
  }

  void let_shells_read() {
    std::vector<security::run_line> all;
    for (const auto& [text, run] : lines_) all.push_back(run);
    for (const auto& shell : security::known_shells()) {
      EXPECT_EQ(security::difference(shell, all), "") << shell.name;
    }
    const auto plain = security::read_plain(all);
    EXPECT_EQ(plain.misread, "");
    EXPECT_TRUE(plain.count > 0 || all.empty()) << "each of them is left to a shell";
    RecordProperty("command_lines", static_cast<int>(all.size()));
    RecordProperty("plain_command_lines", plain.count);
  }

  /// The first fault of each place is shown, all are counted.
  void note(const driven_call& call, const text_place& where, const std::string& text,
            const std::string& fault) {
    ++faults_;
    if (!faulty_.insert(call.signature + where.id).second) return;
    std::fprintf(stderr, "%s with %s as %s: %s\n", call.signature.c_str(), shown(text).c_str(),
                 where.id.c_str(), sandbox::libc::with_templates(fault).c_str());
  }

  std::string known_name_;
  security::shell_stand_in shell_;
  std::unique_ptr<security::watched_files> files_;
  std::map<std::string, security::run_line> lines_;
  std::size_t longest_kept_ = 1000;
  int calls_ = 0;
  int faults_ = 0;
  std::map<std::string, std::map<std::string, int>> most_lines_;  // by path and kind of line
  std::set<std::string> faulty_;
  int places_ = 0;
  bool samples_ = false;
};

TEST_F(injection, of_support_functions) { drive_table(security::add_support_functions); }
TEST_F(injection, of_disk_functions) { drive_table(security::add_disk_functions); }
TEST_F(injection, of_array_functions) { drive_table(security::add_raid_functions); }
TEST_F(injection, of_group_and_pool_functions) { drive_table(security::add_lvm_functions); }
TEST_F(injection, of_file_system_functions) { drive_table(security::add_fs_functions); }
TEST_F(injection, of_share_functions) {
  samples_ = std::getenv("ORV_LONG") == nullptr;  // they rewrite files: all of it takes minutes
  drive_table(security::add_share_functions);
}
TEST_F(injection, of_service_functions) { drive_table(security::add_service_functions); }
TEST_F(injection, of_system_functions) { drive_table(security::add_system_functions); }
TEST_F(injection, of_user_functions) { drive_table(security::add_user_functions); }
TEST_F(injection, of_record_functions) { drive_table(security::add_record_functions); }
