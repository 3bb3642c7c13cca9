#include <orv/support.h>

#include <cerrno>

#include "tests/sandbox/sandbox.h"

class kernel_version : public sandbox_test {};

TEST_F(kernel_version, is_one_number) {
  const std::pair<const char*, int> releases[] = {{"2.6.29", 2006029},
                                                  {"2.6.30", 2006030},
                                                  {"6.1.0-37-amd64", 6001000},
                                                  {"6.18.44-x", 6018044},
                                                  {"3.0", 3000000},
                                                  {"5.15-rc1", 5015000},
                                                  {"odd", 0},
                                                  {"2.6.32.9", 2006032},
                                                  {"99999999999999999999.1000.-5", 999999000},
                                                  {"4.19.255+", 4019255}};
  for (const auto& [release, number] : releases) {
    machine.kernel_release(release);
    EXPECT_EQ(get_linux_version(), number) << release;
  }
}

TEST_F(kernel_version, that_cannot_be_asked_is_below_every_version) {
  machine.fail("uname", EFAULT);
  EXPECT_EQ(get_linux_version(), -1);
}
