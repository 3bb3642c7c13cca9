#include <orv/support.h>

#include <cerrno>
#include <memory>

#include "support/characters.h"
#include "support/line_scanner.h"

using orv::support::copy_text;
using orv::support::line_scanner;
using orv::support::text_or_empty;
using orv::support::trimmed;

namespace {

struct close_stream {
  void operator()(FILE* stream) const { std::fclose(stream); }
};

using owned_stream = std::unique_ptr<FILE, close_stream>;

owned_stream open_text(const char* path) {
  if (path != nullptr) return owned_stream(std::fopen(path, "re"));
  errno = EINVAL;
  return nullptr;
}

bool is_section_head(std::string_view line) { return line.starts_with('['); }

bool is_head_of(std::string_view line, std::string_view section) {
  return is_section_head(line) && trimmed(line.substr(1, line.find(']') - 1)) == section;
}

/// Moves to the lines of the first section of this name.
bool find_section(line_scanner& lines, std::string_view section) {
  while (lines.next()) {
    if (is_head_of(trimmed(lines.line()), section)) return true;
  }
  return false;
}

/// Finds the first such key before the next section head.
bool find_key(line_scanner& lines, std::string_view key, std::string_view& value) {
  while (lines.next()) {
    const std::string_view line = trimmed(lines.line());
    if (is_section_head(line)) return false;
    if (line.starts_with('#') || line.starts_with(';')) continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || trimmed(line.substr(0, equals)) != key) continue;
    value = trimmed(line.substr(equals + 1));
    return true;
  }
  return false;
}

}  // namespace

int ini_value_get(char* out, const char* path, const char* section, const char* key, int size) {
  if (out == nullptr || size <= 0) {
    errno = EINVAL;
    return -1;
  }
  const owned_stream file = open_text(path);
  line_scanner lines(file.get());
  std::string_view value;
  if (!find_section(lines, trimmed(text_or_empty(section))) ||
      !find_key(lines, trimmed(text_or_empty(key)), value)) {
    return -1;
  }
  copy_text(out, size, value);
  return 0;
}

int ini_key_get(const char* path, const char* section, const char* key, char* out, int size) {
  return ini_value_get(out, path, section, key, size);
}

int txt_line_seek(const char* path, const char* mark, int n, char* out, int size) {
  if (out == nullptr || size <= 0 || n < 1) {
    errno = EINVAL;
    return -1;
  }
  const std::string_view beginning = text_or_empty(mark);
  const owned_stream file = open_text(path);
  line_scanner lines(file.get());
  for (int found = 0; lines.next();) {
    const std::string_view line = lines.line();
    if (!line.starts_with(beginning) || ++found != n) continue;
    const std::string_view text = line.substr(beginning.size());
    copy_text(out, size, text.substr(0, text.find_first_of("]\r")));
    return 0;
  }
  return -1;
}
