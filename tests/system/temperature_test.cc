#include <orv/system.h>
#include <sys/stat.h>

#include "tests/system/getter.h"

class temperature : public system_test {};

TEST_F(temperature, of_the_zor_family_comes_from_its_state_file) {
  zor_state("temp=41\ntemp(cpu)=52\n");
  kta_state("temp=1\ntemp(cpu)=2\n");
  model("ZOR7130LB");
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{ORV_OK, "41"}));
  for (const char* other : {"ZOR7130L", "ZOR7130G", "ZOR7130L_BS", "ZOR9"}) {
    model(other);
    EXPECT_EQ(ask(tmp_get), (answer_of_getter{ORV_OK, "52"})) << other;
  }
}

TEST_F(temperature, of_every_other_model_comes_from_the_other_state_file) {
  zor_state("temp=1\ntemp(cpu)=2\n");
  kta_state("temp=38\ntemp(cpu)=49\n");
  model("KTA7120P");
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{ORV_OK, "38"}));
  for (const char* other : {"KTA7120X", "KTA7120E", "KTA7120U", "unknown"}) {
    model(other);
    EXPECT_EQ(ask(tmp_get), (answer_of_getter{ORV_OK, "49"})) << other;
  }
}

TEST_F(temperature, that_cannot_be_read_is_reported_and_the_buffer_cleared) {
  model("KTA7120X");
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{-1010, ""}));
  EXPECT_EQ(machine.log(), "tmp_get:N return -1010 with No such file or directory\n");
  EXPECT_EQ(tmp_get(nullptr, 8), ORV_E_TEMPERATURE);
}

TEST_F(temperature, that_is_not_in_the_state_file_is_reported) {
  model("ZOR7130L");
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{-1010, ""}));
  zor_state("temp=41\n");
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{-1010, ""}));
  EXPECT_EQ(machine.log_lines().size(), 2U);
}

TEST_F(temperature, needs_the_device_model) {
  kta_state("temp(cpu)=49\n");
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{-1001, ""}));
  EXPECT_EQ(machine.log(),
            "devmodel_get:N return -1001 with No such file or directory\n"
            "tmp_get:N return -1001 with No such file or directory\n");
}

// Any local user can make a file of this name first.
TEST_F(temperature, is_not_what_somebody_else_says) {
  model("KTA7120X");
  ASSERT_EQ(::mkfifo("/tmp/nas_state.conf", 0666), 0);
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{-1010, ""}));
  EXPECT_EQ(machine.log(), "tmp_get:N return -1010 with Operation not permitted\n");
  machine.remove("/tmp/nas_state.conf");
  machine.file("/root/state", "[misc]\ntemp(cpu)=49\n");
  machine.link("/tmp/nas_state.conf", "/root/state");
  EXPECT_EQ(ask(tmp_get), (answer_of_getter{-1010, ""}));
}
