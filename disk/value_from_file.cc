#include "disk/value_from_file.h"

#include <orv/disk.h>
#include <orv/support.h>

#include "common/log.h"
#include "common/text.h"

namespace orv {

std::string_view whole_value(std::string_view line, std::string_view separators) {
  const std::size_t place = line.find_first_of(separators);
  if (place == std::string_view::npos) return {};
  return trimmed(line.substr(place + 1));
}

}  // namespace orv

namespace {

/// The value of a line up to the next separator, trimmed; empty when there is none.
std::string_view first_value(std::string_view line, std::string_view separators) {
  const auto fields = orv::split(line, separators);
  return fields.size() < 2 ? std::string_view() : orv::trimmed(fields[1]);
}

}  // namespace

int get_value_from_file(FILE* fp, const char* key, const char* sep, int index, char* dst,
                        int size) try {
  if (dst == nullptr) return orv::log_missing_argument();
  char line[256] = "";
  const int result = get_line_from_file(fp, key, index, sep, line, sizeof line);
  if (result != 0) return orv::log_failure(result);
  const std::string_view separators = orv::text_or_empty(sep);
  const bool is_whole = orv::text_or_empty(key) == orv::pci_location_key;
  const std::string_view value =
      is_whole ? orv::whole_value(line, separators) : first_value(line, separators);
  orv::copy_text(dst, size, value);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
