#include <orv/share.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "common/log.h"
#include "common/own_file.h"
#include "common/text.h"
#include "share/file_text.h"

/// The listing of df that another part of the appliance keeps.

namespace {

constexpr char listing_path[] = "/tmp/df.info";

/// "/mnt/data" of "/pool/data": the first component of a path gives way to "/mnt".
std::string mount_point_of(std::string_view path) {
  constexpr std::size_t longest = 255;
  std::string_view rest = path;
  while (rest.starts_with('/')) rest.remove_prefix(1);
  const std::size_t second = rest.find('/');
  std::string mount_point = "/mnt";
  if (second != std::string_view::npos) mount_point += rest.substr(second);
  return mount_point.substr(0, longest);
}

uint64_t number_in(std::string_view field) {
  return std::strtoul(std::string(field).c_str(), nullptr, 0);
}

/// Whole GiB of a number of KiB, and one more: that much has always been added.
uint64_t gib_above(std::string_view kib) {
  constexpr uint64_t kib_per_gib = 1024UL * 1024;
  return (number_in(kib) + kib_per_gib) / kib_per_gib;
}

struct figures {
  uint64_t total;
  uint64_t used;
};

/// The figures of a line "[DEVICE] TOTAL USED ... MOUNT POINT".
std::optional<figures> figures_in(std::string_view line) {
  const auto fields = orv::split(line, " ");
  const std::size_t first = fields.empty() || number_in(fields[0]) < 1 ? 1 : 0;
  if (fields.size() < first + 2) return std::nullopt;
  return figures{gib_above(fields[first]), gib_above(fields[first + 1])};
}

/// The figures of the first line that ends with a mount point.
std::optional<figures> find_figures(FILE* listing, const std::string& mount_point) {
  const std::string ending = ' ' + mount_point;
  std::string text;
  if (!orv::read_rest(listing, text)) return std::nullopt;
  std::string_view rest = text;
  std::string_view line;
  while (orv::next_line(rest, line)) {
    if (orv::trimmed_right(line).ends_with(ending)) return figures_in(line);
  }
  return std::nullopt;
}

}  // namespace

int get_sizeinfo_from_df(uint64_t* total, uint64_t* used, const char* path) try {
  if (total == nullptr || used == nullptr || path == nullptr) return orv::log_missing_argument();
  if (!orv::is_own_file(listing_path)) return ORV_OK;
  const orv::unique_file file(std::fopen(listing_path, "re"));
  if (!file) return ORV_OK;
  const auto found = find_figures(file.get(), mount_point_of(path));
  if (!found) return ORV_E_FAILED;
  *total = found->total;
  *used = found->used;
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
