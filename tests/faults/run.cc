#include "run.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>

namespace faults {
namespace {

constexpr std::string_view kept_copies = "/var/lib/orv/kept";

const std::vector<std::string> unread_output = {"/tmp/disk0.", "/tmp/disk1.", "/tmp/vgdisplay.",
                                                "/tmp/pvdisplay.", "/tmp/pwstat."};

/// Hashes and time stamps differ from run to run.
std::string without_chance(const std::string& text) {
  if (text.find("$1$") == std::string::npos && text.find(".20") == std::string::npos) return text;
  static const std::regex hash(R"(\$1\$[^:\n']*)");
  static const std::regex stamp(R"(\.20\d{12})");
  return std::regex_replace(std::regex_replace(text, hash, "HASH"), stamp, ".STAMP");
}

files files_of(const world& appliance) {
  files all = appliance.all_files();
  for (auto& [path, text] : all) text = without_chance(text);
  return all;
}

/// A tool that no shell started does not know how its words were written.
std::string with_single_blanks(std::string line) {
  const auto ends = std::unique(line.begin(), line.end(),
                                [](char one, char next) { return one == ' ' && next == ' '; });
  line.erase(ends, line.end());
  return line;
}

bool is_wait(const system_call& call) { return call.text.starts_with("wait4"); }

bool starts_process(const system_call& call) {
  return call.text.starts_with("clone") || call.text.starts_with("vfork") || is_wait(call);
}

/// A lock that this process holds itself shows to a descriptor of another kind of lock.
void note_locks(std::vector<std::string>& held) {
  for (const char* path : {"/etc/sharefolder.conf", "/etc/samba/smb.conf", "/etc/exports",
                           "/etc/samba/smb_recy.conf", "/etc/exports_recy", "/etc/ietd.conf",
                           "/etc/shadow", "/etc/mdfstab", "/etc/nas_userfile.conf"}) {
    const int file = ::open(path, O_RDWR | O_CLOEXEC);
    if (file < 0) continue;
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (::fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK)
      held.push_back(std::string("a lock on ") + path);
    ::close(file);
  }
}

/// Makes the call on a thread of its own, which the filter of system calls ends with.
void make_call(const ready_call& call, const fault& failing, call_watch& watch, outcome& got) {
  std::thread caller([&] {
    watch.begin();
    watch_allocations(failing.allocation);
    try {
      got.result = call.act();
    } catch (const std::exception& error) {
      got.thrown = error.what();
    }
    got.allocations = stop_allocations();
    watch.end();
  });
  caller.join();
}

void close_what_the_kernel_closed(const call_watch& watch, outcome& got) {
  for (const int number : watch.closed()) ::close(number);
  for (const int number : watch.closed_twice())
    got.held.push_back("descriptor " + std::to_string(number) + ", closed twice");
}

bool holds_any(const std::string& text, const std::vector<std::string>& parts) {
  return std::any_of(parts.begin(), parts.end(),
                     [&](const std::string& part) { return text.find(part) != std::string::npos; });
}

/// A complaint is printed of what a function then does without; what counts is what it tells else.
std::string without_complaints(const std::string& told) {
  static const std::regex complaint("cannot (cat|open|open dir) [^\n]*\n");
  return std::regex_replace(told, complaint, "");
}

bool is_overcome(const subject& called, const std::string& text) {
  return std::any_of(called.overcomes.begin(), called.overcomes.end(), [&](const exemption& one) {
    return text.find(one.part) != std::string::npos;
  });
}

/// A tool that says what is not so can make a function believe it, when the function listens. What
/// some tools print is for people, whom it reaches as it is.
bool lies(const fault& failing) {
  return failing.misbehaviour.starts_with("prints") &&
         holds_any(failing.text, {"--detail", "--list", "display", "--scan", "cat ", "netstat",
                                  "smbstatus", "pidof", "pwstate", "ps ", "smartctl", "arcadm",
                                  "halt", "reboot", "vgcfgrestore"});
}

constexpr char shadow_backup[] = "/etc/shadow-";

/// The file that a path's copy was kept of, or whose companion or backup it is; any other as it is.
std::string original_of(const std::string& path) {
  if (path == shadow_backup) return "/etc/shadow";
  for (const std::string_view beside : {kept_copies, std::string_view(companions)})
    if (path.starts_with(beside)) return path.substr(beside.size());
  return path;
}

/// Whether a file's content is like one that it has without a fault too.
template <class Like>
bool is_like_a_known_one(const std::string& path, const outcome& good, Like like) {
  const auto has = [&](const files& state) {
    const auto found = state.find(path);
    return found != state.end() && like(found->second);
  };
  return has(good.before) || has(good.after) ||
         std::any_of(good.steps.begin(), good.steps.end(), has);
}

bool is_known(const std::string& path, const std::string& text, const outcome& good) {
  return is_like_a_known_one(path, good, [&](const std::string& known) { return known == text; });
}

/// Whether a file has the beginning of some content that it has without a fault too.
bool is_beginning(const std::string& path, const std::string& text, const outcome& good) {
  return is_like_a_known_one(path, good,
                             [&](const std::string& known) { return known.starts_with(text); });
}

/// The mode of the file, which stands in front of its text, is a line too.
std::set<std::string> lines_of(const std::string& text) {
  std::istringstream rest(text);
  std::string mode;
  rest >> mode;
  rest.get();
  std::set<std::string> lines{mode};
  for (std::string line; std::getline(rest, line);) lines.insert(line + (rest.eof() ? "" : "\n"));
  return lines;
}

/// Whether a file has none but whole lines of the contents that it has without a fault too, none of
/// them twice, and every line that all of these have.
bool is_mixture(const std::string& path, const std::string& text, const outcome& good) {
  std::vector<files> states = good.steps;
  states.insert(states.end(), {good.before, good.after});
  const auto lines = lines_of(text);
  const auto ends = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  std::set<std::string> some;
  std::optional<std::set<std::string>> common;
  for (const auto& state : states) {
    const auto found = state.find(path);
    if (found == state.end()) continue;
    const auto known = lines_of(found->second);
    some.insert(known.begin(), known.end());
    if (!common) common = known;
    std::erase_if(*common, [&](const std::string& line) { return !known.contains(line); });
  }
  return common && lines.size() == ends + 1 &&
         std::includes(some.begin(), some.end(), lines.begin(), lines.end()) &&
         std::includes(lines.begin(), lines.end(), common->begin(), common->end());
}

void check_files(const subject& called, const fault& failing, const outcome& good,
                 const outcome& got, std::vector<std::string>& found) {
  const bool failed = got.result != called.expected;
  for (const auto& [path, found_text] : got.after) {
    if (is_known(path, found_text, good)) continue;
    // The backup is as the shadow file, but for its mode.
    const std::string text = path == shadow_backup ? "640" + found_text.substr(3) : found_text;
    const bool is_new = !good.before.contains(path) && !good.after.contains(path);
    const bool may_differ = failed || lies(failing) || is_overcome(called, failing.text);
    const bool may_be_cut = may_differ && holds_any(path, called.cut_short) &&
                            is_beginning(original_of(path), text, good);
    const bool may_be_mixed =
        may_differ && holds_any(path, called.mixed) && is_mixture(original_of(path), text, good);
    const bool may_stay = (is_new || lies(failing)) && holds_any(path, called.leaves);
    if (may_be_cut || may_be_mixed || may_stay) continue;
    // What the disk lists and the volume lists could not read stays for whoever looks into it.
    if (is_new && (failed || called.may_tell_less) && holds_any(path, unread_output)) continue;
    // What cannot be removed stays.
    if (is_new && failing.text.find("unlink") != std::string::npos) continue;
    // Whoever reads a file that was cut short finds the text of its companion.
    const auto beside = got.after.find(std::string(companions) + path);
    if (beside != got.after.end() && beside->second.starts_with(text) &&
        is_known(path, beside->second, good))
      continue;
    // A copy is kept of whatever is there, and a companion has what is to be there.
    if (is_known(original_of(path), text, good)) continue;
    found.push_back(is_new ? "leaves " + path
                           : path + " is neither old nor new: " + text.substr(0, 200));
  }
  for (const auto& [path, text] : good.before)
    if (good.after.contains(path) && !got.after.contains(path)) found.push_back("loses " + path);
}

/// Commands that ask write to a file in /tmp; a source of details may be asked or not.
std::vector<std::string> changes_in(const std::vector<std::string>& commands) {
  std::vector<std::string> changes;
  for (const auto& line : commands)
    if (line.find("> /tmp/") == std::string::npos) changes.push_back(line);
  return changes;
}

/// Takes what was done from what is to be done. @return what was not done
std::vector<std::string> left_undone(const outcome& good, const outcome& got,
                                     std::vector<std::string>& found) {
  auto left = changes_in(good.commands);
  for (const auto& line : changes_in(got.commands)) {
    const auto done = std::find(left.begin(), left.end(), line);
    if (done != left.end()) {
      left.erase(done);
    } else {
      found.push_back("succeeds and runs " + line);
    }
  }
  return left;
}

/// What a tool tells may be missing from a list without its being a failure; see may_tell_less.
bool is_question(const std::string& tool) {
  return holds_any(tool, {"--detail", "--list", "display", "--scan", "cat "});
}

/// A success is one only when everything is there that is there without the fault, but for what the
/// function is documented to do without.
void check_success(const subject& called, const fault& failing, const outcome& good,
                   const outcome& got, std::vector<std::string>& found) {
  if (lies(failing)) return;
  const bool overcome = is_overcome(called, failing.text);
  std::vector<std::string> ignored;
  const auto undone = left_undone(good, got, overcome ? ignored : found);
  for (const auto& line : undone)
    if (!overcome && !is_overcome(called, line)) found.push_back("succeeds without " + line);
  if (overcome || !undone.empty()) return;
  for (const auto& [path, text] : good.after) {
    if (path.starts_with("/var/lib") || path.starts_with(companions)) continue;
    if (holds_any(path, called.leaves)) continue;
    const auto there = got.after.find(path);
    if (there == got.after.end() || there->second != text)
      found.push_back("succeeds without " + path);
  }
  const bool not_run = failing.misbehaviour == "fails" || failing.misbehaviour == "is killed";
  if (not_run && !is_question(failing.text)) found.push_back("succeeds though the tool did not");
  // What cannot be printed is not told, and what a tool prints for people is.
  const bool tells_the_same = failing.text.find(to_standard_output) == std::string::npos &&
                              !failing.misbehaviour.starts_with("prints");
  if (tells_the_same && !called.may_tell_less && without_complaints(got.told) != good.told)
    found.push_back("succeeds and tells: " + got.told.substr(0, 300));
}

void check_refusal(const subject& called, const fault& failing, const outcome& got,
                   std::vector<std::string>& found) {
  const bool tells =
      !called.never_tells.empty() && got.told.find(called.never_tells) != std::string::npos;
  if (tells && got.result == called.expected && !is_overcome(called, failing.text))
    found.push_back("succeeds and tells: " + got.told);
  for (const auto& line : got.commands)
    if (holds_any(line, called.never_runs)) found.push_back("runs " + line);
}

bool is_documented(const subject& called, const fault& failing, long result) {
  if (result == called.expected) return true;
  // Without memory every function may fail by the code of a failed request.
  const bool memory_is_missing = failing.allocation.at >= 0 || failing.text.starts_with("ENOMEM");
  if (memory_is_missing && result == ORV_E_FAILED) return true;
  return std::find(called.documented.begin(), called.documented.end(), result) !=
         called.documented.end();
}

}  // namespace

outcome run(const subject& called, const fault& failing, bool with_steps) {
  world appliance(called.model);
  outcome got;
  if (!called.shell.empty()) appliance.machine.shell_is(called.shell);
  ready_call call = called.prepare(appliance);
  if (failing.tool >= 0)
    appliance.machine.file("/.sandbox/misbehaviour",
                           std::to_string(failing.tool) + ' ' + failing.misbehaviour);
  appliance.machine.forget();
  const auto open_before = appliance.machine.open_descriptors();
  if (with_steps) got.before = files_of(appliance);
  {
    std::function<void(const system_call&)> note_step;
    bool after_tool = false;
    if (with_steps)
      note_step = [&](const system_call& made) {
        if (after_tool || starts_process(made)) got.steps.push_back(files_of(appliance));
        after_tool = is_wait(made);
      };
    call_watch watch(failing.call, note_step);
    make_call(call, failing, watch, got);
    close_what_the_kernel_closed(watch, got);
    got.calls = watch.calls();
  }
  for (const auto& descriptor : appliance.machine.open_descriptors())
    if (std::find(open_before.begin(), open_before.end(), descriptor) == open_before.end())
      got.held.push_back("descriptor " + descriptor);
  note_locks(got.held);
  call.show();
  got.told = without_chance(appliance.machine.output());
  call = {};
  got.unreleased = unreleased_allocations();
  for (const auto& line : appliance.machine.commands())
    got.commands.push_back(with_single_blanks(without_chance(line)));
  for (const auto& made : appliance.machine.call_records()) {
    std::string words;
    for (const auto& word : made.words) words += (words.empty() ? "" : " ") + word;
    got.tools.push_back(words);
    if (made.by_shell) got.tools_of_a_shell.push_back(words);
  }
  got.after = files_of(appliance);
  return got;
}

std::vector<std::string> findings(const subject& called, const fault& failing, const outcome& good,
                                  const outcome& got) {
  std::vector<std::string> found;
  if (!got.thrown.empty()) return {"lets out an exception: " + got.thrown};
  const bool is_believed = lies(failing) && is_overcome(called, failing.text);
  if (!is_believed && !is_documented(called, failing, got.result))
    found.push_back("undocumented result " + std::to_string(got.result));
  check_files(called, failing, good, got, found);
  if (got.result == called.expected) check_success(called, failing, good, got, found);
  if (!is_believed) check_refusal(called, failing, got, found);
  for (const auto& held : got.held) found.push_back("holds " + held);
  if (got.unreleased > good.unreleased)
    found.push_back("does not release " + std::to_string(got.unreleased - good.unreleased) +
                    " allocations");
  return found;
}

}  // namespace faults
