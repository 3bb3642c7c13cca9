/// The support library's lines, fields, strings and INI files, and the lines of share files.

#include <orv/share.h>
#include <orv/support.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "common/handles.h"
#include "fuzz.h"
#include "share/share_lines.h"

extern "C" {
FILE* machine_fopen(const char* path, const char* mode);
int machine_fileno(FILE* stream);
off_t machine_lseek(int number, off_t offset, int whence);
}

namespace {

constexpr char untouched = '\x01';

/// A buffer of a size that an input chooses; behind it nothing may be written.
class buffer {
 public:
  explicit buffer(int size) : size_(size), bytes_(new char[static_cast<std::size_t>(size)]) {
    std::fill(bytes_, bytes_ + size, untouched);
  }
  ~buffer() { delete[] bytes_; }
  buffer(const buffer&) = delete;
  buffer& operator=(const buffer&) = delete;

  char* data() { return bytes_; }
  int size() const { return size_; }
  std::string_view text() const {
    const auto room = static_cast<std::size_t>(size_);
    EXPECT(strnlen(bytes_, room) < room);
    return bytes_;
  }
  /// Holds a text when a function succeeded, and what it held before when it failed.
  void check(int result) const {
    if (result == 0) text();
    EXPECT(result == 0 || std::count(bytes_, bytes_ + size_, untouched) == size_);
  }

 private:
  int size_;
  char* bytes_;
};

void read_lines(fuzz::input& in, int size) {
  const std::string key = in.word();
  const int index = static_cast<int>(in.below(8));
  const std::string text(in.rest());
  the_machine.put("/etc/lines", text);
  const orv::unique_file file(machine_fopen("/etc/lines", "re"));
  buffer line(std::max(size, 2));
  std::string joined;
  int length = 0;
  while ((length = fgetline(file.get(), line.data(), line.size())) >= 0) {
    EXPECT(length < line.size() && line.data()[length] == '\0');
    joined.append(line.data(), static_cast<std::size_t>(length));
  }
  EXPECT(length == -1);
  std::string without_ends = text;
  std::erase(without_ends, '\n');
  EXPECT(joined == without_ends);

  for (auto* const get : {get_line_from_file, get_line_from_file_end}) {
    buffer all(size);
    all.check(get(file.get(), nullptr, index, nullptr, all.data(), all.size()));
    buffer keyed(size);
    keyed.check(get(file.get(), key.c_str(), index, ":=", keyed.data(), keyed.size()));
  }
}

void split_fields(fuzz::input& in, int size) {
  const std::string separators = in.word();
  const int index = static_cast<int>(in.below(8));
  const std::string line = in.word();
  const int length = static_cast<int>(line.size());
  char* field = nullptr;
  buffer text(size);
  const int copied = get_str_from_display(line.c_str(), length, separators.c_str(), index,
                                          text.data(), text.size());
  text.check(copied);
  uint64_t number = 7;
  const int read = get_size_from_display(line.c_str(), length, separators.c_str(), index, &number);
  EXPECT(read == 0 || (read == -1 && number == 7));
  const int found = get_substr_from_line(line.c_str(), length, separators.c_str(), index, &field);
  EXPECT((found == 1) == (copied == 0));
  if (found != 1) return;
  EXPECT(line.ends_with(field));
  if (copied == 0) EXPECT(std::string_view(field).starts_with(text.text()));
  // The line may be an earlier result.
  get_substr_from_line(field, static_cast<int>(std::strlen(field)), separators.c_str(), 1, &field);
}

void change_strings(fuzz::input& in, int size) {
  const std::string first = in.word();
  const std::string second = in.word();
  buffer copy(size);
  liborv_strncpy(copy.data(), copy.size(), first.c_str());
  EXPECT(first.starts_with(copy.text()));
  liborv_strncat(copy.data(), copy.size(), second.c_str());
  EXPECT((first + second).starts_with(copy.text()));

  std::string trimmed = first;
  EXPECT(ltrimstr(rtrimstr(trimmed.data())) == orv::trimmed(first));
  std::string cleared = first + '\0';
  clear_string(cleared.data(), static_cast<int>(second.size() % (first.size() + 1)));

  EXPECT(liborv_strcmp_substr(first.c_str(), second.c_str(), ",") ==
         liborv_strcmp_substr(second.c_str(), first.c_str(), ","));
  const bool is_number = !first.empty() && first.find_first_not_of("0123456789") == first.npos;
  EXPECT(isdigital(first.c_str()) == (is_number ? 1 : 0));

  std::string line = first;
  char* key = nullptr;
  char* value = nullptr;
  const bool has_equals = first.find('=') != first.npos;
  EXPECT(key_val_split(line.data(), &key, &value) == (has_equals ? 1 : 0));
  if (has_equals) EXPECT(std::string(key) + '=' + value == first);
}

void read_ini(fuzz::input& in, int size) {
  const std::string section = in.word();
  const std::string key = in.word();
  the_machine.put("/etc/ini", in.rest());
  buffer value(size);
  const int found =
      ini_value_get(value.data(), "/etc/ini", section.c_str(), key.c_str(), value.size());
  value.check(found);
  if (found == 0) EXPECT(value.text().find('\n') == std::string_view::npos);
  buffer same(size);
  EXPECT(ini_key_get("/etc/ini", section.c_str(), key.c_str(), same.data(), size) == found);
  EXPECT(found != 0 || same.text() == value.text());
  for (int n = 0; n < 3; ++n) {
    buffer head(size);
    head.check(txt_line_seek("/etc/ini", "[", n, head.data(), head.size()));
  }
}

/// The lines of a share file as `getline` reads them, byte by byte.
std::vector<std::string> lines_byte_by_byte(int file, orv::line_buffer kept) {
  std::vector<std::string> lines;
  char line[orv::longest_share_line + 1] = "";
  int got = 0;
  while ((got = getline(file, line, orv::longest_share_line)) > 0) {
    EXPECT(got <= orv::longest_share_line + 1 && line[got - 1] == '\0');
    lines.emplace_back(orv::trimmed_right(line + std::strspn(line, " \t")));
    if (kept == orv::line_buffer::cleared) std::fill(std::begin(line), std::end(line), '\0');
  }
  EXPECT(got == 0);
  return lines;
}

/// `getline` and `read_share_lines` find the same lines, in a buffer that is cleared or kept
/// between them.
void read_share_file(fuzz::input& in, int /*size*/) {
  const auto kept = in.below(2) == 0 ? orv::line_buffer::cleared : orv::line_buffer::kept;
  the_machine.put("/etc/shares", in.rest());
  const orv::unique_file file(machine_fopen("/etc/shares", "re"));
  std::vector<std::string> lines;
  const auto take = [&lines](std::string_view line) {
    lines.emplace_back(line);
    return ORV_OK;
  };
  EXPECT(orv::read_share_lines(machine_fileno(file.get()), kept, take) == ORV_OK);
  EXPECT(machine_lseek(machine_fileno(file.get()), 0, SEEK_SET) == 0);
  EXPECT(lines == lines_byte_by_byte(machine_fileno(file.get()), kept));
}

}  // namespace

FUZZ_TARGET(text, in) {
  const unsigned what = in.below(5);
  const int size = static_cast<int>(in.below(64)) + 1;
  constexpr void (*parts[])(fuzz::input&, int) = {read_lines, split_fields, change_strings,
                                                  read_ini, read_share_file};
  parts[what](in, size);
}
