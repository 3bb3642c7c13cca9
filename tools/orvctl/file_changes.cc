#include "tools/orvctl/file_changes.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "tools/orvctl/text_diff.h"

namespace orvctl {
namespace {

/// Files in which every line may hold a password or its hash.
constexpr std::array<std::string_view, 7> secret_files = {"/etc/shadow",
                                                          "/etc/shadow-",
                                                          "/etc/shadow+",
                                                          "/etc/gshadow",
                                                          "/etc/gshadow-",
                                                          "/etc/nas_userfile.conf",
                                                          "/etc/samba/private/smbpasswd"};

bool is_secret(const std::string& path) {
  return std::find(secret_files.begin(), secret_files.end(), path) != secret_files.end();
}

bool is_text(const std::string& content) {
  constexpr std::size_t longest = 1UL << 20;
  return content.size() <= longest && content.find('\0') == std::string::npos;
}

/// "IncomingUser ann ***" of a line "IncomingUser ann secret" of the iSCSI targets.
std::string without_password(const std::string& line) {
  for (const std::string_view key : {"IncomingUser ", "OutgoingUser "}) {
    const std::size_t start = line.find(key);
    if (start == std::string::npos) continue;
    const std::size_t name = line.find_first_not_of(' ', start + key.size());
    const std::size_t blank = line.find(' ', name);
    if (name != std::string::npos && blank != std::string::npos) {
      return line.substr(0, blank) + " ***";
    }
  }
  return line;
}

}  // namespace

std::string shown_diff(const std::string& path, const std::string& before,
                       const std::string& after) {
  if (is_secret(path)) return "(holds passwords, and is not shown)\n";
  if (!is_text(before) || !is_text(after)) return "(no text, or a long one: not shown)\n";
  std::string shown;
  for (const std::string& line : unified_diff(before, after)) {
    shown += without_password(line) + "\n";
  }
  return shown;
}

namespace {

std::string name_of(const std::string& path, const tree_entry& entry) {
  return S_ISDIR(entry.mode) ? path + "/" : path;
}

file_change difference(const std::string& path, const tree_entry& before, const tree_entry& after) {
  if (before.content == after.content) return {name_of(path, after), "mode", ""};
  return {path, "changed", shown_diff(path, before.content, after.content)};
}

bool same(const tree_entry& one, const tree_entry& other) {
  return one.mode == other.mode && one.owner == other.owner && one.group == other.group &&
         one.content == other.content;
}

}  // namespace

std::vector<file_change> changes_between(const std::string& directory, const file_tree& before,
                                         const file_tree& after) {
  std::vector<file_change> changes;
  for (const auto& [key, entry] : before) {
    const std::string path = directory + "/" + key;
    const auto now = after.find(key);
    if (now == after.end()) {
      changes.push_back({name_of(path, entry), "removed", shown_diff(path, entry.content, "")});
    } else if (!same(entry, now->second)) {
      changes.push_back(difference(path, entry, now->second));
    }
  }
  for (const auto& [key, entry] : after) {
    if (before.contains(key)) continue;
    const std::string path = directory + "/" + key;
    changes.push_back({name_of(path, entry), "created", shown_diff(path, "", entry.content)});
  }
  std::sort(changes.begin(), changes.end(),
            [](const file_change& one, const file_change& other) { return one.path < other.path; });
  return changes;
}

}  // namespace orvctl
