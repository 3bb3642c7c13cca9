#include <orv/network.h>
#include <orv/service.h>
#include <orv/support.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr int line_size = 256;
constexpr int address_size = sizeof tag_netcard::gateway;

/// The text before and behind the first blank of a line; one without a blank has nothing behind it.
struct first_word {
  explicit first_word(std::string_view line) : word(line.substr(0, line.find(' '))) {
    if (word.size() < line.size()) rest = line.substr(word.size() + 1);
  }
  std::string_view word;
  std::optional<std::string_view> rest;
};

std::string_view without_margins(std::string_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  return orv::trimmed_right(line);
}

/// Moves to the next line that is not empty, without its margins.
/// @return ORV_OK, ORV_E_NO_GATEWAY at the end of the file, or ORV_E_FAILED
int next_line(FILE* file, char (&buffer)[line_size], std::string_view& line) {
  do {
    const int length = fgetline(file, buffer, line_size);
    if (length < 0) return length == -1 ? ORV_E_NO_GATEWAY : ORV_E_FAILED;
    line = without_margins(buffer);
  } while (line.empty());
  return ORV_OK;
}

/// The stanza of an interface begins with a line such as "auto eth0".
int find_stanza(FILE* file, std::string_view name) {
  char buffer[line_size] = "";
  std::string_view line;
  int result = ORV_OK;
  do {
    result = next_line(file, buffer, line);
  } while (result == ORV_OK && (line.starts_with('#') || first_word(line).rest != name));
  return result;
}

/// The value of the stanza's "gateway" line. A second "iface" line begins another stanza.
int find_gateway(FILE* file, std::string& value) {
  char buffer[line_size] = "";
  std::string_view line;
  for (int stanzas = 0; stanzas < 2;) {
    const int result = next_line(file, buffer, line);
    if (result != ORV_OK) return result;
    const first_word split(line);
    if (split.word == "iface") ++stanzas;
    if (split.word != "gateway") continue;
    value = split.rest.value_or("");
    return ORV_OK;
  }
  return ORV_E_NO_GATEWAY;
}

}  // namespace

int get_gateway(const char* path, const char* name, char* gateway) try {
  const orv::unique_file file(path == nullptr ? nullptr : std::fopen(path, "rbe"));
  if (!file) {
    std::printf("open error");
    return ORV_E_FAILED;
  }
  if (gateway == nullptr) return ORV_E_FAILED;
  int result = find_stanza(file.get(), orv::text_or_empty(name));
  std::string value;
  if (result == ORV_OK) result = find_gateway(file.get(), value);
  if (result != ORV_OK) return result;
  if (check_ip(value.c_str()) != ORV_OK) return ORV_E_NO_GATEWAY;
  orv::copy_text(gateway, address_size, value);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
