#include <orv/support.h>

#include <cerrno>

#include "support/characters.h"
#include "support/line_scanner.h"
#include "support/to_beginning.h"

using orv::support::copy_text;
using orv::support::line_scanner;
using orv::support::text_or_empty;
using orv::support::to_beginning;
using orv::support::trimmed;
using orv::support::trimmed_left;

namespace {

constexpr int end_of_file = -1;
constexpr int read_error = -2;

/// A key may be looked for in many lines, of which few begin with it.
bool has_key(std::string_view line, std::string_view key, std::string_view separators) {
  const std::string_view text = trimmed_left(line);
  return text.starts_with(key) && trimmed(text.substr(0, text.find_first_of(separators))) == key;
}

/// Copies the `wanted`-th matching line; otherwise says how many matched through `found`. Every
/// line matches when no key is asked for.
int copy_line(FILE* stream, const char* key, int wanted, const char* separators, char* out,
              int size, int& found) {
  found = 0;
  if (!to_beginning(stream)) return read_error;
  const bool is_any = key == nullptr;
  const std::string_view wanted_key = text_or_empty(key);
  const std::string_view ends = text_or_empty(separators);
  line_scanner lines(stream);
  while (lines.next()) {
    if (!is_any && !has_key(lines.line(), wanted_key, ends)) continue;
    if (found++ != wanted) continue;
    copy_text(out, size, lines.line());
    return 0;
  }
  return lines.failed() ? read_error : end_of_file;
}

bool usable(const FILE* stream, int n, const char* out, int size) {
  if (stream != nullptr && n >= 0 && out != nullptr && size > 0) return true;
  errno = EINVAL;
  return false;
}

}  // namespace

int fgetline(FILE* stream, char* buffer, int size) {
  if (stream == nullptr || buffer == nullptr || size < 2) {
    errno = EINVAL;
    return read_error;
  }
  int length = 0;
  int c = EOF;
  while (length < size - 1 && (c = getc_unlocked(stream)) != EOF && c != '\n') {
    buffer[length++] = static_cast<char>(c);
  }
  if (c != EOF && c != '\n') {
    // A line that just fits: its line end belongs to it and is no empty line of its own.
    c = getc_unlocked(stream);
    if (c != '\n' && c != EOF) std::ungetc(c, stream);
  }
  buffer[length] = '\0';
  if (std::ferror(stream) != 0) return read_error;
  return length == 0 && c == EOF ? end_of_file : length;
}

int get_line_from_file(FILE* stream, const char* key, int n, const char* separators, char* out,
                       int size) {
  if (!usable(stream, n, out, size)) return -1;
  int found = 0;
  return copy_line(stream, key, n, separators, out, size, found);
}

int get_line_from_file_end(FILE* stream, const char* key, int n, const char* separators, char* out,
                           int size) {
  if (!usable(stream, n, out, size)) return -1;
  int found = 0;
  const int no_line = -1;
  const int end = copy_line(stream, key, no_line, separators, out, size, found);
  if (end == read_error || n >= found) return end;
  return copy_line(stream, key, found - 1 - n, separators, out, size, found);
}
