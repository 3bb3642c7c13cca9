#include <optional>
#include <vector>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

struct smart_arguments {
  std::string disks;
  std::string enclosure = "0";
};

// What a disk does not tell stays "NaN".
json told(const char* text) { return text == std::string("NaN") ? json() : text_value(text); }

constexpr column<tag_disk_info> summary_columns[] = {
    {"ENCLOSURE", "enclosure", form::number,
     [](const tag_disk_info& disk) { return text_value(disk.enclosure); }},
    {"CHANNEL", "channel", form::number, [](const tag_disk_info& disk) { return json(disk.ch); }},
    {"DEVICE", "device", form::text,
     [](const tag_disk_info& disk) { return text_value(disk.name); }},
    {"HEALTH", "health", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.health); }},
    {"MODEL", "model", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.device_model); }},
    {"SERIAL NUMBER", "serial_number", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.serial_number); }},
    {"FIRMWARE", "firmware", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.firmware_version); }},
    {"CAPACITY", "capacity", form::text,
     [](const tag_disk_info& disk) { return told(disk.smart.user_capacity); }},
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

records_of<tag_disksmart_info> told_by(const tag_disk_info& disk) {
  return records_of<tag_disksmart_info>(disk.smart_list.list);
}

// JSON has the attributes in their disk, a table has a line for each.
constexpr column<tag_disk_info> disk_columns[] = {
    {nullptr, "enclosure", form::number,
     [](const tag_disk_info& disk) { return text_value(disk.enclosure); }},
    {nullptr, "channel", form::number, [](const tag_disk_info& disk) { return json(disk.ch); }},
    {nullptr, "device", form::text,
     [](const tag_disk_info& disk) { return text_value(disk.name); }},
    {nullptr, "attributes", form::text,
     [](const tag_disk_info& disk) { return make_table(own_columns, told_by(disk)).objects(); }},
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
    {"STATUS", nullptr, form::text,
     [](const disk_attribute& row) { return text_value(row.own.status); }},
};

/// Asks every disk of a list. A line that a tool does not print has no code of its own.
int ask(disk_list& disks, const char* mode) {
  tag_diskinfo_list* anchor = disks.get();
  liborv_strncpy(anchor->smart.smart_enabled, sizeof anchor->smart.smart_enabled, mode);
  const int result = smart_info_get(anchor);
  return result == ORV_E_NO_GATEWAY ? static_cast<int>(ORV_E_FAILED) : result;
}

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
  const int result = ask(disks.get(), "");
  show_list(run, "disks", make_table(summary_columns, disks.get()), result);
}

std::vector<disk_attribute> attributes_of(const disk_list& disks) {
  std::vector<disk_attribute> all;
  for (const tag_disk_info& disk : disks) {
    for (const tag_disksmart_info& own : told_by(disk)) all.push_back({disk, own});
  }
  return all;
}

void show(session& run, const smart_arguments& given) {
  named_disks disks(given);
  const int result = ask(disks.get(), "detail");
  if (run.as_json) return show_list(run, "disks", make_table(disk_columns, disks.get()), result);
  show_list(run, "attributes", make_table(attribute_columns, attributes_of(disks.get())), result);
}

void add_smart_verb(CLI::App& verb, session& run,
                    void (*action)(session&, const smart_arguments&)) {
  const auto given = std::make_shared<smart_arguments>();
  verb.add_option("DISKS", given->disks,
                  "channels such as 1,2, or a device such as sda; all disks without it")
      ->type_name("");
  add_enclosure(verb, given->enclosure);
  on_run(verb, run, given, action);
}

}  // namespace

void add_smart_commands(CLI::App& program, session& run) {
  CLI::App& smart =
      add_noun(program, "smart", "What disks tell about their health", "orvctl smart list");
  add_smart_verb(add_verb(smart, run, "list", "Show the health and the identity of disks",
                          "orvctl smart list --json"),
                 run, list);
  add_smart_verb(add_verb(smart, run, "show", "Show the SMART attributes of disks",
                          "orvctl smart show 3 --enclosure 0"),
                 run, show);
}

}  // namespace orvctl
