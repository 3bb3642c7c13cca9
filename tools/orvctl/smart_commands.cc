#include <vector>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

struct smart_arguments {
  std::string channels;
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

struct disk_attribute {
  const tag_disk_info& disk;
  const tag_disksmart_info& attribute;
};

constexpr column<disk_attribute> attribute_columns[] = {
    {"ENCLOSURE", "enclosure", form::number,
     [](const disk_attribute& row) { return text_value(row.disk.enclosure); }},
    {"CHANNEL", "channel", form::number,
     [](const disk_attribute& row) { return json(row.disk.ch); }},
    {"DEVICE", "device", form::text,
     [](const disk_attribute& row) { return text_value(row.disk.name); }},
    {"ID", "id", form::number,
     [](const disk_attribute& row) { return text_value(row.attribute.id); }},
    {"ATTRIBUTE", "attribute", form::text,
     [](const disk_attribute& row) { return text_value(row.attribute.attr_name); }},
    {"VALUE", "value", form::number,
     [](const disk_attribute& row) { return json(row.attribute.value); }},
    {"WORST", "worst", form::number,
     [](const disk_attribute& row) { return json(row.attribute.worst); }},
    {"THRESHOLD", "threshold", form::number,
     [](const disk_attribute& row) { return json(row.attribute.thresh); }},
    {"RAW", "raw", form::number, [](const disk_attribute& row) { return json(row.attribute.raw); }},
    {"STATUS", "status", form::text,
     [](const disk_attribute& row) { return text_value(row.attribute.status); }},
};

/// Asks every disk of a list. A line that a tool does not print has no code of its own.
int ask(disk_list& disks, const char* mode) {
  tag_diskinfo_list* anchor = disks.get();
  liborv_strncpy(anchor->smart.smart_enabled, sizeof anchor->smart.smart_enabled, mode);
  const int result = smart_info_get(anchor);
  return result == ORV_E_NO_GATEWAY ? static_cast<int>(ORV_E_FAILED) : result;
}

/// Lets an action have the disks of the channels that were given, or all disks.
void with_disks(const smart_arguments& given, const std::function<void(disk_list&)>& action) {
  if (!given.channels.empty()) {
    disk_selection selected(given.channels, given.enclosure);
    return action(selected.disks());
  }
  disk_list all;
  check(disks_info_get(all.get()));
  action(all);
}

void list(session& run, const smart_arguments& given) {
  with_disks(given, [&](disk_list& disks) {
    const int result = ask(disks, "");
    show_list(run, "disks", make_table(summary_columns, disks), result);
  });
}

std::vector<disk_attribute> attributes_of(const disk_list& disks) {
  std::vector<disk_attribute> all;
  for (const tag_disk_info& disk : disks) {
    for (const tag_disksmart_info& attribute :
         records_of<tag_disksmart_info>(disk.smart_list.list)) {
      all.push_back({disk, attribute});
    }
  }
  return all;
}

void show(session& run, const smart_arguments& given) {
  with_disks(given, [&](disk_list& disks) {
    const int result = ask(disks, "detail");
    show_list(run, "attributes", make_table(attribute_columns, attributes_of(disks)), result);
  });
}

void add_smart_verb(CLI::App& verb, session& run,
                    void (*action)(session&, const smart_arguments&)) {
  const auto given = std::make_shared<smart_arguments>();
  verb.add_option("CHANNELS", given->channels, "channels of the disks, such as 1,2; all without it")
      ->type_name("")
      ->check(channel_list);
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
