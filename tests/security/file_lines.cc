#include "tests/security/file_lines.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "tests/sandbox/programs/records.h"

namespace security {
namespace {

bool has_sections(const std::string& path) {
  return path.starts_with("/etc/samba/smb") || path == "/etc/sharefolder.conf";
}

std::string kind_of(const std::string& line) {
  const std::size_t start = line.find_first_not_of(" \t");
  if (start == std::string::npos) return "*";
  const std::string text = line.substr(start);
  if (start == 4 && text.find(" =") != text.npos) return text.substr(0, text.find(" ="));
  for (const std::string_view word :
       {"Target", "IncomingUser", "Lun", "HeaderDigest", "DataDigest", "Wthreads"}) {
    if (text.starts_with(word)) return std::string(word);
  }
  return "*";
}

}  // namespace

std::map<std::string, int> lines_of(const std::string& path) {
  return lines_in(sandbox::whole_file(path.c_str()), path);
}

std::map<std::string, int> lines_in(const std::string& text, const std::string& path) {
  std::map<std::string, int> kinds;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    ++kinds[has_sections(path) && line.starts_with('[') ? "[" : kind_of(line)];
  }
  return kinds;
}

int separators_in(const std::string& text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (c >= 0 && c <= ' ') || c == ',' || c == 0x7f;
  }));
}

}  // namespace security
