#include <orv/disk.h>
#include <orv/support.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "disk/value_from_file.h"

namespace {

constexpr char driver_directory[] = "/proc/scsi/mvSata/";

/// A host's file tells where its controller sits on the bus: the character before the last comma
/// and the last one.
struct controller_place {
  char before_comma;
  char last;
  int position;
};

/// Positions 1 and 2 are the controllers of the main chassis, 3 and 4 lead to expansion enclosures.
constexpr controller_place controller_places[] = {
    {'1', '4', 1}, {'1', '5', 2}, {'3', '3', 1}, {'3', '1', 2},
    {'0', '5', 2}, {'0', '4', 1}, {'2', '1', 3}, {'2', '2', 4},
};
constexpr int unknown_position = 0;

/// Which expansion enclosures a controller leads to through its ports 0 to 3 and 4 to 7.
struct expansion {
  int position;
  int enclosures[2];
};
constexpr expansion expansions[] = {{3, {1, 2}}, {4, {3, 4}}};

constexpr int ports_per_enclosure = 4;
constexpr int ports = 2 * ports_per_enclosure;
constexpr int bays_per_port = 4;
constexpr int bays_per_controller = 8;

/// The lines of a host's file that list disks, counted from 0.
constexpr int first_disk_line = 9;
constexpr int last_disk_line = 14;

/// Channel and enclosure of an expansion bay. What a line leaves open is as in the line before it,
/// in whichever host's file that was.
struct expansion_bay {
  int channel = 0;
  int enclosure = 0;
};

/// One disk line of a host's file.
struct driver_line {
  int port;
  int unit;
  std::string_view device;  // behind a "*" when the disk is in an expansion enclosure
};

/// Position of the controller whose place on the bus is given, such as "bus 1, slot 4"; nothing
/// when that is no place.
std::optional<int> controller_position(std::string_view place) {
  const std::size_t comma = place.rfind(',');
  if (comma == std::string_view::npos) return std::nullopt;
  if (comma == 0) return unknown_position;
  for (const controller_place& known : controller_places) {
    if (known.before_comma == place[comma - 1] && known.last == place.back()) return known.position;
  }
  return unknown_position;
}

/// Reads a disk line; only one digit of its port and unit counts. A line without a port, unit or
/// device lists no disk, and neither does one whose port or unit does not begin with a digit.
std::optional<driver_line> parse_disk_line(std::string_view line) {
  constexpr std::size_t port_field = 1, unit_field = 2, device_field = 9;
  if (line.empty() || !orv::is_digit(line.front())) return std::nullopt;
  const auto fields = orv::split(orv::trimmed_right(line), " \t");
  if (fields.size() <= device_field) return std::nullopt;
  const char port = fields[port_field].front();
  const char unit = fields[unit_field].front();
  if (!orv::is_digit(port) || !orv::is_digit(unit)) return std::nullopt;
  return driver_line{port - '0', unit - '0', fields[device_field]};
}

/// Kept for the channel numbers that users know: every on-board disk lowers its controller's
/// position for the rest of the file, and a second one there is numbered from the lowered position.
int lowered_position(int position) { return std::min(position - 1, 1); }

void place_on_board(tag_disk_info& disk, const driver_line& line, int position) {
  disk.ch = line.port + line.unit + 1 + bays_per_controller * position;
  orv::set_text(disk.name, line.device);
  orv::set_text(disk.enclosure, "0");
}

void place_in_expansion(tag_disk_info& disk, const driver_line& line, int position,
                        expansion_bay& bay) {
  if (line.port < ports) {
    bay.channel = bays_per_port * (line.port % ports_per_enclosure) + line.unit + 1;
    for (const expansion& known : expansions) {
      if (known.position != position) continue;
      bay.enclosure = known.enclosures[line.port / ports_per_enclosure];
    }
  }
  disk.ch = bay.channel;
  orv::set_text(disk.name, line.device.substr(1));
  orv::set_text(disk.enclosure, std::to_string(bay.enclosure));
}

/// What `get_line_from_file` returns behind the last line. Any other failure is one to read.
constexpr int no_line = -1;

/// Appends the disks of a host's file; false when it cannot be read, or without memory.
bool add_disks(tag_diskinfo_list* list, FILE* file, int position, expansion_bay& bay) {
  char text[256] = "";
  for (int n = first_disk_line; n <= last_disk_line; ++n) {
    const int found = get_line_from_file(file, nullptr, n, nullptr, text, sizeof text);
    if (found == no_line) break;
    if (found != 0) return false;
    const std::optional<driver_line> line = parse_disk_line(text);
    if (!line) continue;
    tag_disk_info* const disk = orv::append(list);
    if (disk == nullptr) return false;
    if (line->device.front() == '*') {
      place_in_expansion(*disk, *line, position, bay);
    } else {
      position = lowered_position(position);
      place_on_board(*disk, *line, position);
    }
  }
  return true;
}

/// @param readable  becomes false when the file cannot be read, or without memory
std::optional<int> position_in(FILE* file, bool& readable) {
  char line[256] = "";
  const int found = get_line_from_file(file, orv::pci_location_key, 0, ":", line, sizeof line);
  readable = found == 0 || found == no_line;
  return found == 0 ? controller_position(orv::whole_value(line, ":")) : std::nullopt;
}

/// Appends the disks of one host, for the public function that is named in the log.
int read_host(tag_diskinfo_list* list, const std::string& host, expansion_bay& bay,
              const char* function = __builtin_FUNCTION()) {
  orv::captured_output output("/tmp/disk" + host + ".XXXXXX");
  const orv::command dump("cat /proc/scsi/mvSata/%s > %s", host, output.path());
  if (!output.fill(dump, orv::command_failed_tight_for)) return ORV_E_COMMAND;
  const orv::unique_file file = output.open();
  if (!file) {
    output.leave();
    return orv::log_failure(ORV_E_DISK_DUMP, function);
  }
  bool readable = true;
  const std::optional<int> position = position_in(file.get(), readable);
  if (readable && (!position || add_disks(list, file.get(), *position, bay))) return ORV_OK;
  return orv::log_failure(ORV_E_DISK_DUMP, function);
}

/// The driver's hosts in numeric order, so that the disks' order is the same in every call,
/// whatever that of the directory is; nothing when the directory cannot be opened or read.
std::optional<std::vector<std::string>> driver_hosts() {
  constexpr std::size_t longest_number = 2;
  const orv::unique_directory directory(opendir(driver_directory));
  if (!directory) return std::nullopt;
  std::vector<std::string> hosts;
  for (errno = 0; const dirent* const entry = readdir(directory.get()); errno = 0) {
    const std::string_view name(entry->d_name);
    if (name != "." && name != ".." && name.size() <= longest_number) hosts.emplace_back(name);
  }
  if (errno != 0) return std::nullopt;
  std::ranges::sort(hosts, {}, [](const std::string& host) {
    return std::pair(host.size(), std::string_view(host));
  });
  return hosts;
}

}  // namespace

int get_diskinfo_from_mvSata(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const auto hosts = driver_hosts();
  if (!hosts) return orv::log_failure(ORV_E_DISK_DRIVER);
  expansion_bay bay;
  for (const std::string& host : *hosts) {
    const int result = read_host(list, host, bay);
    if (result != ORV_OK) return result;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
