#include "support/process_group.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <memory>

namespace orv::support {
namespace {

struct close_directory {
  void operator()(DIR* directory) const { closedir(directory); }
};
using unique_directory = std::unique_ptr<DIR, close_directory>;

std::optional<pid_t> number_in(std::string_view text) {
  pid_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// The next word of a text, which goes from it.
std::string_view take_word(std::string_view& text) {
  const std::size_t end = text.find(' ');
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(end == text.npos ? text.size() : end + 1);
  return word;
}

std::optional<process_state> examine(const char* number) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%s/stat", number);
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  char text[256];  // the name has 15 bytes, and the group comes early
  const ssize_t size = read(file, text, sizeof text);
  close(file);
  if (size <= 0) return std::nullopt;
  return process_state_of({text, static_cast<std::size_t>(size)});
}

}  // namespace

// "NUMBER (NAME) STATE PARENT GROUP ...", where the name may hold anything.
std::optional<process_state> process_state_of(std::string_view stat) {
  const std::size_t end_of_name = stat.rfind(") ");
  if (end_of_name == stat.npos) return std::nullopt;
  stat.remove_prefix(end_of_name + 2);
  const std::string_view state = take_word(stat);
  take_word(stat);
  const std::optional<pid_t> group = number_in(take_word(stat));
  if (!group) return std::nullopt;
  return process_state{*group, state != "Z" && state != "X"};
}

bool has_ended(pid_t group) {
  const unique_directory processes(opendir("/proc"));
  if (!processes) return false;
  bool sees_this_process = false;
  while (const dirent* const entry = readdir(processes.get())) {
    const std::optional<pid_t> number = number_in(entry->d_name);
    if (!number) continue;
    if (*number == getpid()) sees_this_process = true;
    const std::optional<process_state> found = examine(entry->d_name);
    if (found && found->group == group && found->is_alive) return false;
  }
  return sees_this_process;
}

}  // namespace orv::support
