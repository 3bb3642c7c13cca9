#include "lvm/vg_backup.h"

#include <orv/lvm.h>
#include <sys/stat.h>

#include <utility>

#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "support/to_beginning.h"

namespace {

/// "md1" of the line `device = "/dev/md1"`; empty for any other line and for a cut one.
std::string_view device_in(std::string_view line) {
  const std::string_view text = orv::trimmed(line);
  const std::size_t slash = text.rfind('/');
  if (!text.starts_with("device =") || slash == std::string_view::npos) return {};
  const std::string_view name = text.substr(slash + 1);
  const std::size_t quote = name.rfind('"');
  return quote == std::string_view::npos ? std::string_view() : name.substr(0, quote);
}

/// The identifier of the line `id = "aaaaaa-bbbb-..."`; empty for a line without two quotes.
std::string_view identifier_in(std::string_view line) {
  const std::size_t first = line.find('"');
  const std::size_t last = line.rfind('"');
  if (first == last) return {};
  return line.substr(first + 1, last - first - 1);
}

}  // namespace

namespace orv {

unique_file open_backup(const char* vgname) {
  const std::string name(text_or_empty(vgname));
  // A name with "/" is no group's: it would lead to a file elsewhere.
  if (name.find('/') != std::string::npos) return nullptr;
  unique_file file(std::fopen(("/etc/lvm/backup/" + name).c_str(), "re"));
  struct stat examined {};
  if (file && (fstat(fileno(file.get()), &examined) != 0 || !S_ISREG(examined.st_mode))) {
    file.reset();
  }
  return file;
}

bool find_identifier(FILE* backup, std::string_view device,
                     std::optional<std::string>& identifier) {
  if (!support::to_beginning(backup)) return false;
  line_reader reader(backup);
  while (!device.empty() && reader.next()) {
    if (!trimmed(reader.line()).starts_with("id =")) continue;
    std::string above(identifier_in(reader.line()));
    if (!reader.next()) break;
    if (device_in(reader.line()) != device) continue;
    identifier = std::move(above);
    return true;
  }
  return !reader.failed();
}

}  // namespace orv

int vg_get_pv(const char* vgname, char* dev) try {
  if (dev == nullptr) return orv::log_missing_argument();
  const orv::unique_file backup = orv::open_backup(vgname);
  if (!backup) return ORV_E_NO_VG;
  orv::line_reader reader(backup.get());
  while (reader.next()) {
    const std::string_view device = device_in(reader.line());
    if (!device.starts_with("sd") && !device.starts_with("md")) continue;
    orv::copy_text(dev, orv::line_reader::capacity, device);
    return ORV_OK;
  }
  return reader.failed() ? orv::log_failure(ORV_E_NO_VG) : ORV_E_NO_VG;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
