#include <orv/disk.h>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// What a text of the summary says until it is filled.
constexpr char not_known[] = "NaN";

}  // namespace

void smart_info_init(tag_smart_info* smart) {
  if (smart == nullptr) return;
  *smart = {};
  orv::set_text(smart->device_model, not_known);
  orv::set_text(smart->serial_number, not_known);
  orv::set_text(smart->firmware_version, not_known);
  orv::set_text(smart->user_capacity, not_known);
  orv::set_text(smart->ata_version, not_known);
  orv::set_text(smart->ata_standard, not_known);
  orv::set_text(smart->smart_support, not_known);
  orv::set_text(smart->smart_enabled, not_known);
  orv::set_text(smart->health, not_known);
}

void smart_info_fini(tag_smart_info* smart) {
  if (smart != nullptr) *smart = {};
}

int smart_info_show(const tag_smart_info* smart) {
  if (smart == nullptr) return orv::log_missing_argument();
  if (orv::text_of(smart->device_model) == not_known) return 0;
  std::printf("=== START OF INFORMATION SECTION ===\n");
  std::printf("Device Model:     %s\n", smart->device_model);
  std::printf("Serial Number:    %s\n", smart->serial_number);
  std::printf("Firmware Version: %s\n", smart->firmware_version);
  std::printf("User Capacity:    %s\n", smart->user_capacity);
  std::printf("ATA Version is:   %s\n", smart->ata_version);
  std::printf("ATA Standard is:  %s\n", smart->ata_standard);
  std::printf("SMART support is: %s\n", smart->smart_support);
  std::printf("SMART support is: %s\n", smart->smart_enabled);
  std::printf("=== START OF READ SMART DATA SECTION ===\n");
  return std::printf("'%s'\n", smart->health);
}

void smart_conf_init(tag_disksmart_info* attribute) {
  if (attribute != nullptr) orv::clear_fields<tag_disksmart_list>(attribute);
}

void smart_conf_fini(tag_disksmart_info* attribute) { smart_conf_init(attribute); }

int smart_conf_show(const tag_disksmart_info* attribute) {
  if (attribute == nullptr) return orv::log_missing_argument();
  std::printf("%3s %-22s\t%.3d %.3d %.3d\t%d", attribute->id, attribute->attr_name,
              static_cast<int>(attribute->value), static_cast<int>(attribute->worst),
              static_cast<int>(attribute->thresh), static_cast<int>(attribute->raw));
  return std::printf("\t%s\n", attribute->status);
}

void smart_list_init(tag_disksmart_list* list) { orv::list_init(list); }

int smart_list_fini(tag_disksmart_list* list) { return orv::list_fini(list); }

void smart_list_show(const tag_disksmart_list* list) { orv::list_show(list, smart_conf_show); }
