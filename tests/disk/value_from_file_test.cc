#include <cerrno>
#include <cstring>

#include "tests/disk/machine_with_disks.h"

class value_from_file : public sandbox_test {
 protected:
  ~value_from_file() override {
    if (file != nullptr) std::fclose(file);
  }

  void holds(const std::string& text) {
    if (file != nullptr) std::fclose(file);
    machine.file("/tmp/smart_sda", text);
    file = std::fopen("/tmp/smart_sda", "re");
  }

  /// The value, or "-" and the code when there is none and the buffer is untouched.
  std::string value_of(const char* key, const char* sep = ":", int index = 0) {
    char text[32] = "before";
    const int result = get_value_from_file(file, key, sep, index, text, sizeof text);
    if (result == 0) return text;
    EXPECT_STREQ(text, "before");
    return "-" + std::to_string(result);
  }

  FILE* file = nullptr;
};

TEST_F(value_from_file, stands_behind_the_separator) {
  holds("smartctl 5.38\n\nDevice Model:     ST3 1000 \r\n  Serial Number:9QJ\nHealth: PASSED");
  EXPECT_EQ(value_of("Device Model"), "ST3 1000");
  EXPECT_EQ(value_of("Serial Number"), "9QJ");
  EXPECT_EQ(value_of("Health"), "PASSED");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(value_from_file, of_equal_keys_is_chosen_by_its_number) {
  holds("SMART support is: Available - device has\nother: x\nSMART support is: Enabled\n");
  EXPECT_EQ(value_of("SMART support is", ":", 0), "Available - device has");
  EXPECT_EQ(value_of("SMART support is", ":", 1), "Enabled");
  EXPECT_EQ(value_of("SMART support is", ":", 2), "--1");
  EXPECT_EQ(value_of("SMART support is", ":", -1), "--1");
}

TEST_F(value_from_file, ends_at_the_next_separator) {
  holds("Local Time is: Mon 10:20:30\nSize = 1 = 2\nRun:: two: three\n");
  EXPECT_EQ(value_of("Local Time is"), "Mon 10");
  EXPECT_EQ(value_of("Size", "="), "1");
  EXPECT_EQ(value_of("Run"), "two");
}

TEST_F(value_from_file, of_the_place_on_the_bus_is_all_behind_the_first_separator) {
  holds("PCI location:  0000:02:1, 4 \n");
  EXPECT_EQ(value_of("PCI location"), "0000:02:1, 4");
}

TEST_F(value_from_file, may_be_empty) {
  holds("Empty:\nBlank:   \nPCI location\nAlone\n");
  EXPECT_EQ(value_of("Empty"), "");
  EXPECT_EQ(value_of("Blank"), "");
  EXPECT_EQ(value_of("Alone"), "");
  EXPECT_EQ(value_of("PCI location"), "");
}

TEST_F(value_from_file, that_is_missing_is_logged) {
  holds("Device Model: x\n");
  for (const char* key : {"Device", "Model"}) {
    errno = 0;
    EXPECT_EQ(value_of(key), "--1");
  }
  EXPECT_EQ(machine.log(),
            "get_value_from_file:N return -1 with Success\n"
            "get_value_from_file:N return -1 with Success\n");
}

TEST_F(value_from_file, that_cannot_be_read_is_logged) {
  machine.directory("/tmp/smart_sda");
  file = std::fopen("/tmp/smart_sda", "re");
  EXPECT_EQ(value_of("Device Model"), "--2");
  EXPECT_EQ(machine.log(), "get_value_from_file:N return -2 with Is a directory\n");
}

TEST_F(value_from_file, is_cut_to_the_buffer) {
  holds("Key: value\n");
  char text[] = "before";
  EXPECT_EQ(get_value_from_file(file, "Key", ":", 0, text, 4), 0);
  EXPECT_STREQ(text, "val");
  EXPECT_EQ(get_value_from_file(file, "Key", ":", 0, text, 1), 0);
  EXPECT_STREQ(text, "");
  text[0] = 'x';
  EXPECT_EQ(get_value_from_file(file, "Key", ":", 0, text, 0), 0);
  EXPECT_EQ(text[0], 'x');
}

TEST_F(value_from_file, is_seen_in_the_first_255_characters_of_a_line) {
  holds(std::string(100'000, 'k') + ": no\nKey:" + std::string(247, ' ') + "value\n");
  EXPECT_EQ(value_of("Key"), "valu");
  EXPECT_EQ(value_of("k"), "--1");
}

TEST_F(value_from_file, without_a_key_is_that_of_the_line_with_the_number) {
  holds("Device Model: x\nPCI location: 1:2\n\nalone\n");
  EXPECT_EQ(value_of(nullptr, ":", 0), "x");
  EXPECT_EQ(value_of(nullptr, ":", 1), "1");
  EXPECT_EQ(value_of(nullptr, ":", 2), "");
  EXPECT_EQ(value_of(nullptr, " ", 0), "Model:");
  EXPECT_EQ(machine.log(), "");
  errno = 0;
  EXPECT_EQ(value_of(nullptr, ":", 4), "--1");
  EXPECT_EQ(value_of(nullptr, ":", -1), "--1");
  EXPECT_EQ(machine.log(),
            "get_value_from_file:N return -1 with Success\n"
            "get_value_from_file:N return -1 with Invalid argument\n");
}

TEST_F(value_from_file, without_separators_there_is_none) {
  holds("Key: value\nKey\n");
  EXPECT_EQ(value_of("Key", ""), "");
  EXPECT_EQ(value_of("Key", nullptr), "");
}

TEST_F(value_from_file, needs_a_file_and_a_buffer) {
  EXPECT_EQ(value_of("Key"), "--1");
  holds("Key: value\n");
  EXPECT_EQ(get_value_from_file(file, "Key", ":", 0, nullptr, 8), ORV_E_FAILED);
  EXPECT_EQ(machine.log(),
            "get_value_from_file:N return -1 with Invalid argument\n"
            "get_value_from_file:N return -1 with Invalid argument\n");
}
