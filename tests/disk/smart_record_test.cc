#include <cstring>

#include "tests/disk/machine_with_disks.h"

class smart_record : public sandbox_test {
 protected:
  smart_record() { smart_list_init(&list); }
  ~smart_record() override { smart_list_fini(&list); }

  tag_disksmart_info& add(const char* id, const char* name) {
    tag_disksmart_info& attribute = append_attribute(list, id);
    liborv_strncpy(attribute.attr_name, sizeof attribute.attr_name, name);
    return attribute;
  }

  tag_disksmart_list list;
};

TEST_F(smart_record, summary_starts_with_nan_in_every_text) {
  tag_smart_info smart;
  std::memset(&smart, 'x', sizeof smart);
  smart_info_init(&smart);
  for (const char* text : {smart.device_model, smart.serial_number, smart.firmware_version,
                           smart.user_capacity, smart.ata_version, smart.ata_standard,
                           smart.smart_support, smart.smart_enabled, smart.health}) {
    EXPECT_STREQ(text, "NaN");
  }
}

TEST_F(smart_record, summary_is_zeroed_when_released) {
  tag_smart_info smart;
  smart_info_init(&smart);
  smart_info_fini(&smart);
  const tag_smart_info zero{};
  EXPECT_EQ(std::memcmp(&smart, &zero, sizeof smart), 0);
}

TEST_F(smart_record, summary_prints_nothing_until_it_is_filled) {
  tag_smart_info smart;
  smart_info_init(&smart);
  EXPECT_EQ(smart_info_show(&smart), 0);
  EXPECT_EQ(machine.output(), "");
}

TEST_F(smart_record, summary_is_printed_as_smartctl_does) {
  const tag_smart_info smart = {
      "ST31000340NS", "9QJ2ABCD", "SN06",  "1,000,204,886,016 bytes", "8", "ATA-8-ACS",
      "Available",    "Enabled",  "PASSED"};
  EXPECT_EQ(smart_info_show(&smart), 9);
  EXPECT_EQ(machine.output(),
            "=== START OF INFORMATION SECTION ===\n"
            "Device Model:     ST31000340NS\n"
            "Serial Number:    9QJ2ABCD\n"
            "Firmware Version: SN06\n"
            "User Capacity:    1,000,204,886,016 bytes\n"
            "ATA Version is:   8\n"
            "ATA Standard is:  ATA-8-ACS\n"
            "SMART support is: Available\n"
            "SMART support is: Enabled\n"
            "=== START OF READ SMART DATA SECTION ===\n"
            "'PASSED'\n");
}

TEST_F(smart_record, attribute_is_zeroed_but_for_its_link) {
  for (void (*clear)(tag_disksmart_info*) : {smart_conf_init, smart_conf_fini}) {
    tag_disksmart_info attribute;
    std::memset(&attribute, 'x', sizeof attribute);
    list_node* const link = attribute.list.next;
    clear(&attribute);
    const tag_disksmart_info zero{};
    EXPECT_EQ(std::memcmp(&attribute, &zero, offsetof(tag_disksmart_info, list)), 0);
    EXPECT_EQ(attribute.list.next, link);
  }
}

TEST_F(smart_record, attribute_is_printed_in_columns) {
  tag_disksmart_info& attribute = add("5", "Reallocated_Sector_Ct");
  attribute.value = 100;
  attribute.worst = 99;
  attribute.thresh = 5;
  attribute.raw = 1234;
  liborv_strncpy(attribute.status, sizeof attribute.status, "-");
  EXPECT_EQ(smart_conf_show(&attribute), 3);  // what prints the status
  EXPECT_EQ(machine.output(), "  5 Reallocated_Sector_Ct \t100 099 005\t1234\t-\n");
}

TEST_F(smart_record, list_is_shown_in_its_order) {
  smart_list_show(&list);
  EXPECT_EQ(machine.output(), "");
  add("1", "Raw_Read_Error_Rate");
  add("194", "Temperature_Celsius");
  smart_list_show(&list);
  EXPECT_EQ(machine.output(),
            "  1 Raw_Read_Error_Rate   \t000 000 000\t0\t\n"
            "194 Temperature_Celsius   \t000 000 000\t0\t\n");
}

TEST_F(smart_record, list_is_released_and_can_be_filled_again) {
  add("1", "a");
  add("2", "b");
  EXPECT_EQ(smart_list_fini(&list), 0);
  EXPECT_EQ(list.list.next, &list.list);
  EXPECT_EQ(smart_list_fini(&list), 0);
  add("3", "c");
  EXPECT_EQ(list.list.next, list.list.prev);
  EXPECT_NE(list.list.next, &list.list);
}

TEST_F(smart_record, that_is_missing_is_told_or_left_alone) {
  EXPECT_EQ(smart_list_fini(nullptr), -1);
  smart_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
  smart_list_init(nullptr);
  smart_conf_init(nullptr);
  smart_conf_fini(nullptr);
  smart_info_init(nullptr);
  smart_info_fini(nullptr);
  EXPECT_EQ(smart_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(smart_info_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(),
            "smart_conf_show:N return -1 with Invalid argument\n"
            "smart_info_show:N return -1 with Invalid argument\n");
}
