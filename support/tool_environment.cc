#include "support/tool_environment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string_view>

#include "support/characters.h"

namespace orv::support {
namespace {

constexpr std::string_view directory_name = "PWD";

std::string_view name_of(const char* variable) {
  const std::string_view text(variable);
  return text.substr(0, text.find('='));
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

static_assert(std::ranges::is_sorted(names_of_the_shell));

bool is_the_shells(std::string_view name) {
  return name.starts_with("BASH") || std::ranges::binary_search(names_of_the_shell, name);
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
    if (name_of(*variable) != "LC_ALL") variables_.push_back(*variable);
  }
  variables_.push_back(nullptr);
}

std::optional<std::string_view> tool_environment::value_of(std::string_view name) const {
  for (const char* const variable : variables_) {
    if (variable != nullptr && name_of(variable) == name) return variable + name.size() + 1;
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

/// Each name once; among them that of the folders that programs are looked for in, for which a
/// shell has a default of its own.
bool tool_environment::has_plain_names() const {
  std::vector<std::string_view> names;
  names.reserve(variables_.size());
  bool has_path = false;
  for (const char* const variable : variables_) {
    if (variable == nullptr) break;
    const std::string_view text(variable);
    const std::size_t end = text.find('=');
    const std::string_view name = text.substr(0, end);
    if (end == text.npos || !is_name(name) || is_the_shells(name)) return false;
    // "%" has a meaning to dash there.
    if (name == "PATH") has_path = text.find('%') == text.npos;
    names.push_back(name);
  }
  std::ranges::sort(names, [](std::string_view one, std::string_view other) {
    return one.size() != other.size() ? one.size() < other.size() : one < other;
  });
  return has_path && std::ranges::adjacent_find(names) == names.end();
}

bool tool_environment::set_working_directory() {
  const auto is_directory = [](const char* variable) {
    return variable != nullptr && name_of(variable) == directory_name;
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
