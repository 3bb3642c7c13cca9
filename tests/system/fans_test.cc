#include <orv/system.h>

#include <utility>

#include "tests/system/getter.h"

class fans : public system_test {
 protected:
  /// Speeds of more fans than any model has.
  static std::string ten_fans() {
    std::string lines;
    for (int fan = 1; fan <= 10; ++fan) {
      lines += "fan" + std::to_string(fan) + "=" + std::to_string(fan * 100) + "\n";
    }
    return lines;
  }

  static std::string speeds_up_to(int count) {
    std::string speeds;
    for (int fan = 1; fan <= count; ++fan) {
      if (fan > 1) speeds += ",";
      speeds += "fan" + std::to_string(fan) + ":" + std::to_string(fan * 100);
    }
    return speeds;
  }
};

TEST_F(fans, are_as_many_as_the_model_has) {
  kta_state(ten_fans());
  zor_state(ten_fans());
  const std::pair<const char*, int> models[] = {
      {"ZOR7130L", 6},    {"ZOR7130G", 6},    {"ZOR7130H", 6}, {"ZOR7130LB", 7}, {"ZOR7130L_BS", 6},
      {"ZOR7130G_BS", 6}, {"ZOR7130H_BS", 6}, {"KTA7130X", 6}, {"KTA7120X", 6},  {"KTA7120E", 4},
      {"KTA7120P", 8},    {"KTA7120U", 6},    {"KTA7120A", 6}};
  for (const auto& [name, count] : models) {
    model(name);
    EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{ORV_OK, speeds_up_to(count)})) << name;
  }
}

TEST_F(fans, without_a_speed_are_skipped) {
  model("KTA7120E");
  kta_state("fan1=3200\nfan3=3150\n");
  EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{ORV_OK, "fan1:3200,fan3:3150"}));
}

TEST_F(fans, come_from_the_state_file_of_the_family) {
  model("ZOR7130L");
  zor_state("fan2=900\n");
  kta_state("fan2=1\n");
  EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{ORV_OK, "fan2:900"}));
}

TEST_F(fans, that_all_report_nothing_give_an_empty_list) {
  model("KTA7120X");
  EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{ORV_OK, ""}));
}

TEST_F(fans, have_speeds_of_seven_characters) {
  model("KTA7120X");
  kta_state("fan1=123456789\n");
  EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{ORV_OK, "fan1:1234567"}));
}

TEST_F(fans, with_an_empty_speed_are_listed) {
  model("KTA7120X");
  kta_state("fan1=\nfan2=3150\n");
  EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{ORV_OK, "fan1:,fan2:3150"}));
}

TEST_F(fans, of_an_unknown_model_are_refused) {
  model("KTA7120XX");
  EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{-1009, ""}));
  EXPECT_THAT(machine.log(), testing::StartsWith("fan_speed_get:N return -1009 with "));
}

TEST_F(fans, need_the_device_model) {
  EXPECT_EQ(ask(fan_speed_get), (answer_of_getter{-1001, ""}));
  EXPECT_EQ(machine.log(),
            "devmodel_get:N return -1001 with No such file or directory\n"
            "fan_speed_get:N return -1001 with No such file or directory\n");
}

TEST_F(fans, list_is_cut_to_the_buffer_when_its_size_is_told) {
  model("KTA7120X");
  kta_state("fan1=3200\nfan2=3150\n");
  EXPECT_EQ(ask<12>(fan_speed_get), (answer_of_getter{ORV_OK, "fan1:3200,f"}));
  EXPECT_EQ(ask<1>(fan_speed_get), (answer_of_getter{ORV_OK, ""}));
  char buffer[128] = "before";
  EXPECT_EQ(fan_speed_get(buffer, 0), ORV_OK);
  EXPECT_STREQ(buffer, "fan1:3200,fan2:3150");
  EXPECT_EQ(fan_speed_get(nullptr, 8), ORV_E_FANS);
}
