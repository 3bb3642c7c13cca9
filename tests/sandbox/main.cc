/// Where every test program starts: away from the real machine before anything else.
#include <gmock/gmock.h>

#include <cstdio>
#include <exception>

#include "capture.h"
#include "jail.h"

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  try {
    sandbox::leave_host();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "No fake machine, so no test was run: %s\n", error.what());
    return 1;
  }
  sandbox::let_test_results_through();
  return RUN_ALL_TESTS();
}
