#include "tests/service/service_machine.h"

namespace {

using check_ip_ = service_machine;

TEST_F(check_ip_, accepts_dotted_addresses) {
  for (const char* address : {"0.0.0.0", "10.11.0.7", "255.255.255.255"}) {
    EXPECT_EQ(check_ip(address), ORV_OK) << address;
  }
}

TEST_F(check_ip_, refuses_all_others_without_a_word) {
  for (const char* text : {"", " ", "10.11.0", "10.11.0.256", "10.11.0.07", "10.11.0.7.1",
                           "10.11.0.7 ", " 10.11.0.7", "10.11.0.7\n", "10.11.0.-7", "0x0a.11.0.7",
                           "168493063", "::1", "::ffff:10.11.0.7", "nas", "10.11.0.7:21"}) {
    EXPECT_EQ(check_ip(text), ORV_E_FAILED) << text;
  }
  EXPECT_EQ(check_ip(nullptr), ORV_E_FAILED);
  EXPECT_EQ(check_ip(std::string(100000, '1').c_str()), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "");
}

}  // namespace
