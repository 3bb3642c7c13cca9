#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/smart_query.h"

namespace orvctl {
namespace {

struct smart_arguments {
  std::string disks;
  std::string enclosure = "0";
};

// "1,000,204,886,016 bytes": digits in groups, and then the unit.
json told_bytes(const char* text) {
  std::uint64_t bytes = 0;
  bool any = false;
  for (; *text != '\0' && *text != ' '; ++text) {
    if (*text == ',' || *text == '.') continue;
    if (*text < '0' || *text > '9') return {};
    bytes = bytes * 10 + static_cast<std::uint64_t>(*text - '0');
    any = true;
  }
  return any && std::string_view(text).starts_with(" bytes") ? json(bytes) : json();
}

constexpr column<tag_disk_info> summary_columns[] = {
    {"ENCLOSURE", "enclosure", form::number,
     [](const tag_disk_info& disk) { return text_value(disk.enclosure); }},
    {"CHANNEL", "channel", form::number, [](const tag_disk_info& disk) { return json(disk.ch); }},
    {"DEVICE", "device", form::text,
     [](const tag_disk_info& disk) { return text_value(disk.name); }},
    {"HEALTH", "health", form::state,
     [](const tag_disk_info& disk) { return told(disk.smart.health); }},
    {"MODEL", "model", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.device_model); }},
    {"SERIAL NUMBER", "serial_number", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.serial_number); }},
    {"FIRMWARE", "firmware", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.firmware_version); }},
    {"CAPACITY", "capacity_bytes", form::gib,
     [](const tag_disk_info& disk) { return told_bytes(disk.smart.user_capacity); }},
    {nullptr, "ata_version", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.ata_version); }},
    {nullptr, "ata_standard", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.ata_standard); }},
    {nullptr, "smart_support", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.smart_support); }},
    {"SMART", "smart_enabled", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.smart_enabled); }},
};

constexpr column<tag_disksmart_info> own_columns[] = {
    {nullptr, "id", form::number, [](const tag_disksmart_info& a) { return text_value(a.id); }},
    {nullptr, "name", form::text,
     [](const tag_disksmart_info& a) { return text_value(a.attr_name); }},
    {nullptr, "value", form::number, [](const tag_disksmart_info& a) { return json(a.value); }},
    {nullptr, "worst", form::number, [](const tag_disksmart_info& a) { return json(a.worst); }},
    {nullptr, "threshold", form::number,
     [](const tag_disksmart_info& a) { return json(a.thresh); }},
    {nullptr, "raw", form::number, [](const tag_disksmart_info& a) { return json(a.raw); }},
    {nullptr, "status", form::text,
     [](const tag_disksmart_info& a) { return text_value(a.status); }},
};

// JSON has the attributes in their disk, a table has a line for each.
constexpr column<tag_disk_info> disk_columns[] = {
    {nullptr, "enclosure", form::number,
     [](const tag_disk_info& disk) { return text_value(disk.enclosure); }},
    {nullptr, "channel", form::number, [](const tag_disk_info& disk) { return json(disk.ch); }},
    {nullptr, "device", form::text,
     [](const tag_disk_info& disk) { return text_value(disk.name); }},
    {nullptr, "attributes", form::text,
     [](const tag_disk_info& disk) {
       return make_table(own_columns, orv::records(disk.smart_list)).objects();
     }},
};

struct disk_attribute {
  const tag_disk_info& disk;
  const tag_disksmart_info& own;
};

constexpr column<disk_attribute> attribute_columns[] = {
    {"ENCLOSURE", nullptr, form::number,
     [](const disk_attribute& row) { return text_value(row.disk.enclosure); }},
    {"CHANNEL", nullptr, form::number, [](const disk_attribute& row) { return json(row.disk.ch); }},
    {"DEVICE", nullptr, form::text,
     [](const disk_attribute& row) { return text_value(row.disk.name); }},
    {"ID", nullptr, form::number, [](const disk_attribute& row) { return text_value(row.own.id); }},
    {"ATTRIBUTE", nullptr, form::text,
     [](const disk_attribute& row) { return text_value(row.own.attr_name); }},
    {"VALUE", nullptr, form::number, [](const disk_attribute& row) { return json(row.own.value); }},
    {"WORST", nullptr, form::number, [](const disk_attribute& row) { return json(row.own.worst); }},
    {"THRESHOLD", nullptr, form::number,
     [](const disk_attribute& row) { return json(row.own.thresh); }},
    {"RAW", nullptr, form::number, [](const disk_attribute& row) { return json(row.own.raw); }},
    {"STATUS", nullptr, form::state,
     [](const disk_attribute& row) { return text_value(row.own.status); }},
};

/// The disks that were named, or all of them.
class named_disks {
 public:
  explicit named_disks(const smart_arguments& given) {
    if (!given.disks.empty() && is_channelID(given.disks.c_str()) == 1) {
      selected_.emplace(given.disks, given.enclosure);
      return;
    }
    check(disks_info_get(all_.get()));
    if (!given.disks.empty()) keep(given.disks);
  }

  disk_list& get() { return selected_ ? selected_->disks() : all_; }

 private:
  void keep(const std::string& device) {
    for (const tag_disk_info& disk : all_) {
      if (device == disk.name) {
        selected_.emplace(std::to_string(disk.ch), disk.enclosure);
        return;
      }
    }
    throw library_problem(ORV_E_NO_DISK, device);
  }

  disk_list all_;
  std::optional<disk_selection> selected_;
};

void list(session& run, const smart_arguments& given) {
  named_disks disks(given);
  const int result = ask_smart(disks.get(), smart_part::summary);
  show_list(run, "disk_health", make_table(summary_columns, disks.get()), result);
}

std::vector<disk_attribute> attributes_of(const disk_list& disks) {
  std::vector<disk_attribute> all;
  for (const tag_disk_info& disk : disks) {
    for (const tag_disksmart_info& own : orv::records(disk.smart_list)) all.push_back({disk, own});
  }
  return all;
}

void show(session& run, const smart_arguments& given) {
  named_disks disks(given);
  const int result = ask_smart(disks.get(), smart_part::attributes);
  if (run.as_json)
    return show_list(run, "disk_attributes", make_table(disk_columns, disks.get()), result);
  show_list(run, "disk_attributes", make_table(attribute_columns, attributes_of(disks.get())),
            result);
}

template <void (*action)(session&, const smart_arguments&)>
void add_smart_verb(CLI::App& verb, session& run) {
  const auto given = std::make_shared<smart_arguments>();
  add_option(verb, "DISKS", given->disks,
             "channels such as 1,2, or a device such as sda; all disks without it")
      .type_name("");
  add_enclosure(verb, given->enclosure);
  add_list_options(verb, run);
  on_run(verb, run, given, action);
  run.queries.push_back({"smart " + name_of(verb), [](session& report) { action(report, {}); }});
}

}  // namespace

void add_smart_commands(CLI::App& program, session& run) {
  CLI::App& smart =
      add_noun(program, "smart", "What disks tell about their health", "orvctl smart list");
  add_smart_verb<list>(add_verb(smart, run, "list", "Show the health and the identity of disks",
                                "orvctl smart list --json"),
                       run);
  add_smart_verb<show>(add_verb(smart, run, "show", "Show the SMART attributes of disks",
                                "orvctl smart show 3 --enclosure 0"),
                       run);
}

}  // namespace orvctl
