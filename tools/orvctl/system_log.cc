#include "tools/orvctl/system_log.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string_view>

#include "tools/orvctl/tool_output.h"

namespace orvctl {
namespace {

// The log daemon writes one of these; a machine without it has the journal.
constexpr const char* log_files[] = {"/var/log/syslog", "/var/log/daemon.log", "/var/log/messages"};

bool is_own(std::string_view line) {
  return line.find(" orv:") != std::string_view::npos ||
         line.find(" orv[") != std::string_view::npos;
}

std::vector<std::string> lines_of_files() {
  constexpr std::streamoff much = 1 << 22;
  for (const char* path : log_files) {
    std::ifstream file(path);
    if (!file) continue;
    std::vector<std::string> lines;
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    file.seekg(size > much ? size - much : 0);
    for (std::string line; std::getline(file, line);) {
      if (is_own(line)) lines.push_back(line);
    }
    if (!lines.empty()) return lines;
  }
  return {};
}

bool may_hold_password(std::string line) {
  std::transform(line.begin(), line.end(), line.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  for (const char* word : {"passw", "pwd", "incominguser", "outgoinguser", "secret"}) {
    if (line.find(word) != std::string::npos) return true;
  }
  return false;
}

std::string without_secrets(const std::string& line) {
  if (!may_hold_password(line)) return line;
  const std::size_t message = line.find(": ");
  return (message == std::string::npos ? "" : line.substr(0, message) + ": ") +
         "(left out: it may hold a password)";
}

}  // namespace

std::vector<std::string> last_log_lines(std::size_t most) {
  std::vector<std::string> lines = lines_of_files();
  if (lines.empty()) {
    lines = tool_output({"/usr/bin/journalctl", "-t", "orv", "-n", std::to_string(most),
                         "--no-pager", "-q", "-o", "short-iso"});
  }
  if (lines.size() > most) lines.erase(lines.begin(), lines.end() - static_cast<long>(most));
  for (std::string& line : lines) line = without_secrets(line);
  return lines;
}

}  // namespace orvctl
