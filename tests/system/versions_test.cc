#include <orv/system.h>

#include "tests/system/getter.h"

using testing::ElementsAre;

class versions : public system_test {};

TEST_F(versions, come_from_the_information_file) {
  machine.file("/etc/sys_info",
               "[version]\nsoftware = 2.4.1\nhardware=B3\n[product]\ntype=KTA7120X\n");
  EXPECT_EQ(ask(softversion_get), (answer_of_getter{ORV_OK, "2.4.1"}));
  EXPECT_EQ(ask(hardversion_get), (answer_of_getter{ORV_OK, "B3"}));
  EXPECT_EQ(ask(devmodel_get), (answer_of_getter{ORV_OK, "KTA7120X"}));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(versions, fall_back_to_the_second_file_when_the_key_is_missing) {
  machine.file("/etc/sys_info", "[version]\nhardware=B3\n");
  machine.file("/etc/nas_base.conf", "[version]\nsoftware=1.0\n");
  EXPECT_EQ(ask(softversion_get), (answer_of_getter{ORV_OK, "1.0"}));
  machine.file("/etc/sys_info", "[version]\n");
  machine.file("/etc/nas_base.conf", "[version]\nhardware=B2\n[product]\ntype=KTA7120E\n");
  EXPECT_EQ(ask(hardversion_get), (answer_of_getter{ORV_OK, "B2"}));
  EXPECT_EQ(ask(devmodel_get), (answer_of_getter{ORV_OK, "KTA7120E"}));
  machine.remove("/etc/sys_info");
  EXPECT_EQ(ask(devmodel_get), (answer_of_getter{ORV_OK, "KTA7120E"}));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(versions, fall_back_when_the_first_value_is_empty_and_report_the_last_lookup) {
  machine.file("/etc/sys_info", "[version]\nsoftware=\n");
  EXPECT_EQ(ask(softversion_get), (answer_of_getter{ORV_E_SOFTWARE_VERSION, ""}));
  machine.file("/etc/nas_base.conf", "[version]\nsoftware=1.0\n");
  EXPECT_EQ(ask(softversion_get), (answer_of_getter{ORV_OK, "1.0"}));
}

TEST_F(versions, do_not_ask_the_second_file_when_the_first_answers) {
  machine.file("/etc/sys_info", "[product]\ntype=KTA7120X\n");
  machine.file("/etc/nas_base.conf", "[product]\ntype=KTA7120E\n");
  EXPECT_EQ(ask(devmodel_get), (answer_of_getter{ORV_OK, "KTA7120X"}));
}

TEST_F(versions, report_a_missing_value_with_their_own_codes_and_clear_the_buffer) {
  EXPECT_EQ(ask(softversion_get), (answer_of_getter{-1008, ""}));
  EXPECT_EQ(ask(hardversion_get), (answer_of_getter{-1007, ""}));
  EXPECT_EQ(ask(devmodel_get), (answer_of_getter{-1001, ""}));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("softversion_get:N return -1008 with No such file or directory",
                          "hardversion_get:N return -1007 with No such file or directory",
                          "devmodel_get:N return -1001 with No such file or directory"));
}

TEST_F(versions, are_cut_to_the_buffer) {
  machine.file("/etc/sys_info", "[product]\ntype=ZOR7130LB_BS\n");
  EXPECT_EQ(ask<10>(devmodel_get), (answer_of_getter{ORV_OK, "ZOR7130LB"}));
}

TEST_F(versions, refuse_a_buffer_that_holds_nothing) {
  model("KTA7120X");
  char byte = 'x';
  EXPECT_EQ(devmodel_get(&byte, 0), ORV_E_MODEL);
  EXPECT_EQ(softversion_get(nullptr, 10), ORV_E_SOFTWARE_VERSION);
  EXPECT_EQ(hardversion_get(&byte, -1), ORV_E_HARDWARE_VERSION);
  EXPECT_EQ(byte, 'x');
}

TEST_F(versions, fit_a_buffer_of_one_byte) {
  model("KTA7120X");
  char byte = 'x';
  EXPECT_EQ(devmodel_get(&byte, 1), ORV_E_MODEL);  // the fallback is asked, and has no such file
  EXPECT_EQ(byte, '\0');
}
