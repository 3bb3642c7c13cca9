#include "tools/orvctl/imitation.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace orvctl {
namespace {

namespace fs = std::filesystem;

constexpr char accounts[] = "/etc/passwd";
constexpr char passwords[] = "/etc/shadow";
constexpr char groups[] = "/etc/group";

/// As the shell would split it; the library quotes a word by "'" alone.
std::vector<std::string> words_of(const std::string& command) {
  std::vector<std::string> words(1);
  bool quoted = false;
  bool escaped = false;
  for (const char letter : command) {
    if (escaped || (quoted && letter != '\'')) {
      words.back() += letter;
      escaped = false;
    } else if (letter == '\'') {
      quoted = !quoted;
    } else if (letter == '\\') {
      escaped = true;
    } else if (letter != ' ') {
      words.back() += letter;
    } else if (!words.back().empty()) {
      words.emplace_back();
    }
  }
  return words;
}

std::vector<std::string> lines_of(const char* path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

void append_line(const char* path, const std::string& line) {
  if (fs::exists(path)) std::ofstream(path, std::ios::app) << line << '\n';
}

void remove_lines_of(const char* path, const std::string& name) {
  if (!fs::exists(path)) return;
  const std::vector<std::string> lines = lines_of(path);
  std::ofstream file(path);
  for (const std::string& line : lines) {
    if (!line.starts_with(name + ":")) file << line << '\n';
  }
}

/// The number after the highest of the ordinary users.
int next_number() {
  constexpr int lowest = 1000;
  constexpr int highest = 60000;
  int next = lowest;
  for (const std::string& line : lines_of(accounts)) {
    std::istringstream fields(line);
    std::string field;
    for (int i = 0; i < 3; ++i) std::getline(fields, field, ':');
    const int number = std::atoi(field.c_str());
    if (number >= next && number < highest) next = number + 1;
  }
  return next;
}

void add_account(const std::string& name) {
  const std::string number = std::to_string(next_number());
  append_line(groups, name + ":x:" + number + ":");
  append_line(accounts, name + ":x:" + number + ":" + number + "::/home/" + name + ":/bin/nologin");
  append_line(passwords, name + ":!:::::::");
}

void remove_account(const std::string& name) {
  for (const char* path : {accounts, passwords, groups}) remove_lines_of(path, name);
}

/// As the tool does, the file keeps the mode it was made with.
void move_file(const std::string& from, const std::string& to) {
  std::error_code none;
  fs::copy_file(from, to, fs::copy_options::overwrite_existing, none);
  if (!none) fs::remove(from, none);
}

}  // namespace

void imitate(const std::string& command) {
  const std::vector<std::string> words = words_of(command);
  if (words.size() < 2) return;
  if (words[0] == "mv" && words.size() > 2) move_file(words[1], words[2]);
  if (words[0] == "adduser") add_account(words.back());
  if (words[0] == "userdel") remove_account(words.back());
}

}  // namespace orvctl
