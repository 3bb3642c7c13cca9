#include "support/tool_environment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <numeric>
#include <string_view>

#include "support/characters.h"

namespace orv::support {
namespace {

constexpr std::string_view directory_name = "PWD";

/// Most variables differ in the first character. No beginning is empty.
bool begins_with(const char* text, std::string_view beginning) {
  return *text == beginning.front() && std::strncmp(text, beginning.data(), beginning.size()) == 0;
}

/// Whether a variable "NAME=VALUE", or "NAME" alone, has this name.
bool has_name(const char* variable, std::string_view name) {
  if (!begins_with(variable, name)) return false;
  const char end = variable[name.size()];
  return end == '=' || end == '\0';
}

/// The characters of names, for one look at each.
constexpr auto is_part_of_name = [] {
  std::array<bool, 1U + UCHAR_MAX> parts{};
  for (unsigned c = 0; c < parts.size(); ++c) {
    parts[c] =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  }
  return parts;
}();

/// All names are compared for each tool: by their hashes (FNV-1a).
constexpr uint64_t hash_of_none = 14695981039346656037U;

constexpr uint64_t hash_with(uint64_t hash, unsigned char next) {
  return (hash ^ next) * 1099511628211U;
}

/// The hash of a variable's name; nothing when a shell would call it no name.
std::optional<uint64_t> hash_of_name(const char* variable) {
  uint64_t hash = hash_of_none;
  const char* end = variable;
  while (is_part_of_name[static_cast<unsigned char>(*end)]) {
    hash = hash_with(hash, static_cast<unsigned char>(*end));
    ++end;
  }
  if (*end != '=' || end == variable || is_digit(*variable)) return std::nullopt;
  return hash;
}

/// Variables that dash or bash gives values of its own, or that change what it does.
constexpr std::string_view names_of_the_shell[] = {"COMP_WORDBREAKS",
                                                   "DIRSTACK",
                                                   "EPOCHREALTIME",
                                                   "EPOCHSECONDS",
                                                   "EUID",
                                                   "FUNCNAME",
                                                   "GROUPS",
                                                   "HISTCMD",
                                                   "HOSTTYPE",
                                                   "IFS",
                                                   "LINENO",
                                                   "MACHTYPE",
                                                   "OPTERR",
                                                   "OPTIND",
                                                   "OSTYPE",
                                                   "PIPESTATUS",
                                                   "POSIXLY_CORRECT",
                                                   "PPID",
                                                   "PS1",
                                                   "PS2",
                                                   "PS4",
                                                   "RANDOM",
                                                   "SECONDS",
                                                   "SHELLOPTS",
                                                   "SRANDOM",
                                                   "UID"};

constexpr auto hashes_of_shell_names = [] {
  std::array<uint64_t, std::size(names_of_the_shell)> hashes{};
  std::ranges::transform(names_of_the_shell, hashes.begin(), [](std::string_view name) {
    return std::accumulate(name.begin(), name.end(), hash_of_none, hash_with);
  });
  return hashes;
}();

bool is_here(const char* directory) {
  struct stat named {};
  struct stat here {};
  return directory[0] == '/' && stat(directory, &named) == 0 && stat(".", &here) == 0 &&
         named.st_dev == here.st_dev && named.st_ino == here.st_ino;
}

/// Whether a path is as bash would write it, which makes "/a/c" of "/a//b/../c/".
bool is_shortest(std::string path) {
  if (path == "/") return true;
  path += '/';
  return path.find("//") == path.npos && path.find("/./") == path.npos &&
         path.find("/../") == path.npos;
}

}  // namespace

tool_environment::tool_environment() {
  static char locale[] = "LC_ALL=C";
  variables_.push_back(locale);
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    if (!has_name(*variable, "LC_ALL")) variables_.push_back(*variable);
  }
  variables_.push_back(nullptr);
}

std::optional<std::string_view> tool_environment::value_of(std::string_view name) const {
  for (const char* const variable : variables_) {
    if (variable != nullptr && has_name(variable, name)) return variable + name.size() + 1;
  }
  return std::nullopt;
}

std::string tool_environment::program_path(const std::string& word) const {
  if (word.find('/') != word.npos) return word;
  std::string_view folders = value_of("PATH").value_or("");
  for (bool is_last = false; !is_last;) {
    const std::size_t end = folders.find(':');
    is_last = end == folders.npos;
    std::string path(folders.substr(0, end));
    if (!path.empty()) path += '/';  // an empty one is the working directory
    path += word;
    if (faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0) return path;
    folders.remove_prefix(is_last ? folders.size() : end + 1);
  }
  return "";
}

bool tool_environment::pass_through_shell() { return has_plain_names() && set_working_directory(); }

/// Each name once, and none of the shell's; among them that of the folders that programs are looked
/// for in, for which a shell has a default of its own. Two names that have the same hash are left
/// to a shell.
bool tool_environment::has_plain_names() const {
  std::vector<uint64_t> hashes;
  hashes.reserve(hashes_of_shell_names.size() + variables_.size());
  hashes.assign(hashes_of_shell_names.begin(), hashes_of_shell_names.end());
  bool has_path = false;
  for (const char* const variable : variables_) {
    if (variable == nullptr) break;
    const std::optional<uint64_t> hash = hash_of_name(variable);
    if (!hash || begins_with(variable, "BASH")) return false;
    // "%" has a meaning to dash there.
    if (has_name(variable, "PATH")) has_path = std::strchr(variable, '%') == nullptr;
    hashes.push_back(*hash);
  }
  std::ranges::sort(hashes);
  return has_path && std::ranges::adjacent_find(hashes) == hashes.end();
}

bool tool_environment::set_working_directory() {
  const auto is_directory = [](const char* variable) {
    return variable != nullptr && has_name(variable, directory_name);
  };
  const auto place = std::ranges::find_if(variables_, is_directory);
  if (place != variables_.end()) {
    const char* const named = *place + directory_name.size() + 1;
    if (is_here(named)) return is_shortest(named);
  }
  char path[PATH_MAX];
  if (getcwd(path, sizeof path) == nullptr || path[0] != '/') return false;
  working_directory_ = std::string(directory_name) + '=' + path;
  if (place != variables_.end()) {
    *place = working_directory_.data();
  } else {
    variables_.insert(variables_.end() - 1, working_directory_.data());
  }
  return true;
}

}  // namespace orv::support
