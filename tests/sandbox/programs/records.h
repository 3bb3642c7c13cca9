// Records that the fake machine's programs leave for the test process, and the files they are in.
// A record is a list of texts; each text is written as "length:bytes," so that any bytes may occur.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

using record = std::vector<std::string>;

// Paths inside the machine.
inline constexpr char programs_directory[] = "/.sandbox/bin";
inline constexpr char answers_directory[] = "/.sandbox/answers";
inline constexpr char commands_file[] = "/.sandbox/commands";  // one record per shell command
inline constexpr char calls_file[] = "/.sandbox/calls";        // one record per call of a fake tool
inline constexpr char trace_file[] = "/.sandbox/trace";        // what the shell set out to run
inline constexpr char shell[] = "/.sandbox/bin/sh";            // what /bin/sh leads to
inline constexpr char misbehaviour_file[] = "/.sandbox/misbehaviour";  // see tool.cc
inline constexpr char misses_file[] = "/.sandbox/misses";  // names that no tool in PATH has

// In the environment of whatever a shell of the machine started, or a tool that told of itself: its
// command line is written down.
inline constexpr char noted_name[] = "ORV_SANDBOX_NOTED";

// A function that every shell of the machine imports: notes a name that is not in PATH.
inline constexpr char miss_handler_name[] = "BASH_FUNC_command_not_found_handle%%";
inline constexpr char miss_handler[] =
    "() { printf '%s\\n' \"${*//$'\\n'/ }\" >> /.sandbox/misses\n"
    " echo \"sh: $1: command not found\" >&2\n"
    " return 127\n}";

// A tool reads its own answers only: their directory.
inline std::string answers_of(std::string tool) {
  std::replace(tool.begin(), tool.end(), '/', '!');
  return std::string(answers_directory) + '/' + tool;
}

inline std::string packed_text(std::string_view text) {
  return std::to_string(text.size()) + ':' + std::string(text) + ',';
}

inline std::string packed(const record& texts) {
  std::string all;
  for (const auto& text : texts) all += packed_text(text);
  return packed_text(all);
}

// Takes the next text off the front of `rest`; false when none is complete.
inline bool take_text(std::string_view& rest, std::string_view& text) {
  size_t length = 0;
  const auto [colon, error] = std::from_chars(rest.data(), rest.data() + rest.size(), length);
  const auto start = static_cast<size_t>(colon - rest.data()) + 1;
  if (error != std::errc() || start + length >= rest.size()) return false;
  text = rest.substr(start, length);
  rest.remove_prefix(start + length + 1);
  return true;
}

inline std::vector<record> unpacked(std::string_view rest) {
  std::vector<record> records;
  for (std::string_view all; take_text(rest, all);) {
    auto& texts = records.emplace_back();
    for (std::string_view text; take_text(all, text);) texts.emplace_back(text);
  }
  return records;
}

inline bool write_whole(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written <= 0) return false;
    text.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

inline std::string rest_of_file(int descriptor) {
  std::string text;
  char block[65536];
  for (ssize_t got; (got = ::read(descriptor, block, sizeof block)) > 0;)
    text.append(block, static_cast<size_t>(got));
  return text;
}

// The whole file, or "" when there is none.
inline std::string whole_file(const char* path) {
  const int file = ::open(path, O_RDONLY | O_CLOEXEC);
  auto text = rest_of_file(file);
  ::close(file);
  return text;
}

// One write on a descriptor in append mode: records of parallel programs do not mix.
inline bool append_record(const char* path, const record& texts) {
  const int file = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0) return false;
  const bool whole = write_whole(file, packed(texts));
  return ::close(file) == 0 && whole;
}

}  // namespace sandbox
