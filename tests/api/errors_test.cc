#include <orv/errors.h>

#include <climits>
#include <set>
#include <string>

#include "tests/sandbox/sandbox.h"

namespace {

struct result_code {
  const char* name;
  int value;
  const char* meaning;
};

constexpr result_code result_codes[] = {
#define ROW(name, value, meaning) {#name, name, meaning},
    ORV_RESULT_CODES(ROW)
#undef ROW
};

constexpr char unknown[] = "unknown result code";

TEST(result_codes_of_the_library, have_their_meaning) {
  for (const result_code& code : result_codes) {
    EXPECT_STREQ(orv_strerror(code.value), code.meaning) << code.name;
  }
}

TEST(result_codes_of_the_library, have_a_meaning_of_one_line_that_tells_them_apart) {
  std::set<std::string> meanings;
  for (const result_code& code : result_codes) {
    const std::string meaning = orv_strerror(code.value);
    EXPECT_FALSE(meaning.empty()) << code.name;
    EXPECT_EQ(meaning.find('\n'), std::string::npos) << code.name;
    EXPECT_NE(meaning, unknown) << code.name;
    EXPECT_TRUE(meanings.insert(meaning).second) << code.name;
  }
}

TEST(result_codes_of_the_library, are_negative_but_for_success_and_differ) {
  std::set<int> values;
  for (const result_code& code : result_codes) {
    EXPECT_TRUE(code.value < 0 || std::string(code.name) == "ORV_OK") << code.name;
    EXPECT_TRUE(values.insert(code.value).second) << code.name;
  }
  EXPECT_EQ(ORV_OK, 0);
}

TEST(result_codes_of_the_library, keep_their_numbers) {
  EXPECT_EQ(ORV_E_FAILED, -1);
  EXPECT_EQ(ORV_E_MODEL, -1001);
  EXPECT_EQ(ORV_E_DISK_DRIVER, -1021);
  EXPECT_EQ(ORV_E_MDSTAT, -1033);
  EXPECT_EQ(ORV_E_LVDISPLAY, -1050);
  EXPECT_EQ(ORV_E_LVDISPLAY_TOOL, -1051);
  EXPECT_EQ(ORV_E_MOUNT_TABLE, -1066);
  EXPECT_EQ(ORV_E_DISK_USED, -2030);
  EXPECT_EQ(ORV_E_NO_RAID, -2038);
  EXPECT_EQ(ORV_E_NO_VG, -2040);
  EXPECT_EQ(ORV_E_NO_POOL, -2055);
  EXPECT_EQ(ORV_E_COMMAND, -11000);
  EXPECT_EQ(ORV_E_MODEL_QUERY, -11001);
}

TEST(result_codes_of_the_library, say_so_when_they_are_unknown) {
  for (const int code : {1, -3, -1000, -1034, -2039, -11003, 11000, INT_MAX, INT_MIN}) {
    EXPECT_STREQ(orv_strerror(code), unknown) << code;
  }
}

}  // namespace
