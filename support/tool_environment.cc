#include "support/tool_environment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <iterator>
#include <string_view>

#include "support/characters.h"

namespace orv::support {
namespace {

constexpr std::string_view directory_name = "PWD";

/// Whether a variable "NAME=VALUE", or "NAME" alone, has this name.
bool has_name(const char* variable, std::string_view name) {
  if (std::strncmp(variable, name.data(), name.size()) != 0) return false;
  const char end = variable[name.size()];
  return end == '=' || end == '\0';
}

bool is_name(std::string_view name) {
  const auto is_part = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || is_digit(c);
  };
  return !name.empty() && !is_digit(name.front()) && std::ranges::all_of(name, is_part);
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

/// The hashes of these names, and of those that the caller will add.
std::vector<std::size_t> hashes_of_shell_names(std::size_t and_of_others) {
  static const auto known = [] {
    std::array<std::size_t, std::size(names_of_the_shell)> hashes{};
    std::ranges::transform(names_of_the_shell, hashes.begin(), std::hash<std::string_view>());
    return hashes;
  }();
  std::vector<std::size_t> hashes;
  hashes.reserve(known.size() + and_of_others);
  hashes.assign(known.begin(), known.end());
  return hashes;
}

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
/// for in, for which a shell has a default of its own. All are looked at for each tool, so their
/// hashes are compared: two names that have the same one are left to a shell.
bool tool_environment::has_plain_names() const {
  std::vector<std::size_t> hashes = hashes_of_shell_names(variables_.size());
  bool has_path = false;
  for (const char* const variable : variables_) {
    if (variable == nullptr) break;
    const std::string_view text(variable);
    const std::size_t end = text.find('=');
    const std::string_view name = text.substr(0, end);
    if (end == text.npos || !is_name(name) || name.starts_with("BASH")) return false;
    // "%" has a meaning to dash there.
    if (name == "PATH") has_path = text.find('%') == text.npos;
    hashes.push_back(std::hash<std::string_view>()(name));
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
