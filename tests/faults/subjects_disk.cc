#include "call_watch.h"
#include "subject.h"

namespace faults {
namespace {

using list = tag_diskinfo_list;

void fill_with_disks(list* disks) { disks_info_get(disks); }

/// A function on one disk of the list.
template <class Function>
auto with_disk(Function function) {
  return with_list<list>(
      [function](list* disks) { return function(&*orv::records(disks).begin()); },
      [](list* disks) {
        tag_disk_info* const disk = orv::append(disks);
        put(disk->name, "sda");
        disk->ch = 1;
      });
}

auto smart_of_all(const std::string& mode) {
  return with_list<list>(smart_info_get, [mode](list* disks) {
    fill_with_disks(disks);
    put(disks->smart.smart_enabled, mode);
  });
}

/// A function on an open file of this text.
template <class Function>
auto with_stream(const std::string& text, Function function) {
  return [text, function](world& w) {
    w.machine.file("/etc/read", text);
    auto file = std::shared_ptr<FILE>(std::fopen("/etc/read", "re"), std::fclose);
    return ready_call{.act = [=] { return long{function(file.get())}; }};
  };
}

constexpr char scan_line[] = "0 a/ST31000340NS   /1000 /Normal   /Hot Spare";
constexpr char attribute_line[] =
    "  5 Reallocated_Sector_Ct   0x0033  100  100  005  Pre-fail Always  -  0\n";

const codes smart = {ORV_E_COMMAND, ORV_E_SMART_SUMMARY, ORV_E_SMART_DETAIL, -1, -2};
// What smartctl's exit status says, or that it was not started, does not count; what it does not
// print is missing.
const exemptions smart_tool = because(
    "the status of the tool does not count, and what it does not print is missing",
    {"smartctl", "arcadm --misc -s", "clone", by_the_child, "close behind openat /tmp/smart_"});
const exemptions sysfs = because(
    "an unreadable file of a disk leaves the fields from there on as they are", {"/sys/block/"});
const exemptions all_but_the_last =
    smart_tool +
    because("the result is that of the last disk",
            {"/tmp/smart_sda", "/tmp/smart_sdc", "/tmp/smart_sdf", "/tmp/smart_sdg", "no memory"}) +
    because("a model that cannot be read is another one", {"/etc/sys_info"});

std::vector<subject> lists() {
  return {
      {.name = "disks_info_get(tag_diskinfo_list*)",
       .documented = disk_list,
       .prepare = with_list<list>(disks_info_get),
       .overcomes = sysfs},
      {.name = "disks_info_get(tag_diskinfo_list*)",
       .variant = "of a controller",
       .documented = disk_list,
       .prepare = with_list<list>(disks_info_get),
       .model = "KTA7120U",
       .overcomes = because("a model that cannot be read has no controller",
                            {"/etc/sys_info", "no memory"})},
      {.name = "get_diskinfo_from_mvSata(tag_diskinfo_list*)",
       .documented = disk_list,
       .prepare = with_list<list>(get_diskinfo_from_mvSata)},
      {.name = "get_diskinfo_from_sd(tag_diskinfo_list*)",
       .prepare = with_list<list>(get_diskinfo_from_sd,
                                  [](list* disks) { get_diskinfo_from_mvSata(disks); }),
       .overcomes = sysfs},
      {.name = "get_global_hotspare(tag_diskinfo_list*)",
       .documented = disk_list,
       .prepare = with_list<list>(get_global_hotspare, fill_with_disks)},
      {.name = "get_diskinfo_from_arcadm(tag_diskinfo_list*)",
       .documented = disk_list,
       .prepare = with_list<list>(get_diskinfo_from_arcadm),
       .model = "KTA7120U"},
      {.name = "get_diskinfo_from_partitions(tag_diskinfo_list*)",
       .documented = {ORV_E_PARTITIONS},
       .prepare = with_list<list>(get_diskinfo_from_partitions)},
      {.name = "get_diskinfo_to_file(char const*, char const*)",
       .documented = {-1},
       .prepare = call([] { return get_diskinfo_to_file("/etc/hostname", "/etc/copy"); }),
       .overcomes = because("the result tells of the opening of both files", {every_fault}),
       .cut_short = {"/etc/copy"}},
  };
}

std::vector<subject> smart_subjects() {
  return {
      {.name = "smart_info_get(tag_diskinfo_list*)",
       .variant = "for summaries",
       .documented = smart,
       .prepare = smart_of_all(""),
       .overcomes = all_but_the_last},
      {.name = "smart_info_get(tag_diskinfo_list*)",
       .variant = "for attributes",
       .documented = smart,
       .prepare = smart_of_all("detail"),
       .overcomes = all_but_the_last},
      {.name = "get_smart(tag_disk_info*)",
       .documented = smart,
       .prepare = with_disk(get_smart),
       .overcomes = smart_tool},
      {.name = "get_smart_detail(tag_disk_info*)",
       .documented = smart,
       .prepare = with_disk(get_smart_detail),
       .overcomes = smart_tool},
      {.name = "get_smart_from_arcadm(tag_disk_info*)",
       .documented = smart,
       .prepare = with_disk(get_smart_from_arcadm),
       .model = "KTA7120U",
       .overcomes = smart_tool},
      {.name = "get_smart_detail_value(_IO_FILE*, int, tag_disksmart_info*)",
       .documented = {-1, -2},
       .prepare = with_stream(attribute_line,
                              [](FILE* file) {
                                tag_disksmart_info found;
                                return get_smart_detail_value(file, 0, &found);
                              })},
      {.name = "get_smart_value_arcadm(_IO_FILE*, int, tag_disksmart_info*)",
       .documented = {-1, -2},
       .prepare = with_stream("Spin Up Time : 97 (21) OK\n",
                              [](FILE* file) {
                                tag_disksmart_info found;
                                return get_smart_value_arcadm(file, 0, &found);
                              })},
      {.name = "get_value_from_file(_IO_FILE*, char const*, char const*, int, char*, int)",
       .documented = {-1, -2},
       .prepare = with_stream("PCI location: bus 1\n",
                              [](FILE* file) {
                                char found[64];
                                return get_value_from_file(file, "PCI location", ":", 0, found, 64);
                              })},
  };
}

std::vector<subject> parsers() {
  return {
      {.name = "get_disk_ch(char const*)",
       .documented = {-1},
       .prepare = call([] { return get_disk_ch(scan_line); }),
       .expected = 1},
      {.name = "disk_ch_cmp(int, char const*)",
       .documented = {0},
       .prepare = call([] { return disk_ch_cmp(12, "3,12"); }),
       .expected = 1},
      {.name = "get_disk_model(char const*, char*, int)",
       .documented = {-1},
       .prepare = call_with_text([](char* text) { return get_disk_model(scan_line, text, 256); })},
      {.name = "get_disk_space(char const*)",
       .documented = {-1},
       .prepare = call([] { return static_cast<long>(get_disk_space(scan_line)); }),
       .expected = 1000},
      {.name = "get_disk_state(char const*, char*, int)",
       .documented = {-1},
       .prepare = call_with_text([](char* text) { return get_disk_state(scan_line, text, 256); })},
      {.name = "get_disk_usage(char const*, char*, int)",
       .documented = {-1},
       .prepare = call_with_text([](char* text) { return get_disk_usage(scan_line, text, 256); })},
      {.name = "trans_ch_disk(tag_diskinfo_list*, char*, char const*, int)",
       .documented = {0, 1},
       .prepare = with_list<list>(
           [](list* disks) {
             char channels[256] = "6,7";
             return trans_ch_disk(disks, channels, "1", 2);
           },
           fill_with_disks),
       .expected = 2},
      {.name = "trans_disk_dev(char*)",
       .prepare = call_with_text([](char* text) {
         put(*reinterpret_cast<char(*)[256]>(text), "sda,sdb");
         return trans_disk_dev(text) == text ? 0 : 1;
       }),
       .overcomes = because("it has no code for that: the text becomes empty", {"no memory"})},
      {.name = "is_channelID(char const*)",
       .documented = {0},
       .prepare = call([] { return is_channelID("3,12"); }),
       .expected = 1},
  };
}

}  // namespace

std::vector<subject> disk_subjects() {
  std::vector<subject> all = lists();
  for (const auto& more : {smart_subjects(), parsers()})
    all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace faults
