#include <climits>
#include <cstring>

#include "tests/raid/machine_with_disks.h"

class md_name : public sandbox_test {
 protected:
  static std::string after(const char* last) {
    char name[32];
    const int length = auto_md_name(last, name);
    EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(name));
    return name;
  }
};

TEST_F(md_name, arrays_compare_by_their_numbers) {
  EXPECT_EQ(mdcmp("md3", "md1"), 2);
  EXPECT_EQ(mdcmp("md1", "md10"), -9);
  EXPECT_EQ(mdcmp("md7", "sd7"), 0);
  EXPECT_EQ(mdcmp("md", "md0"), 0);
  EXPECT_EQ(mdcmp("md_home", "md0"), 0);
}

TEST_F(md_name, short_missing_and_huge_names_compare_too) {
  EXPECT_EQ(mdcmp("", "m"), 0);
  EXPECT_EQ(mdcmp(nullptr, "md4"), -4);
  EXPECT_EQ(mdcmp("md99999999999999999999999999999", "md0"), INT_MAX);
  EXPECT_EQ(mdcmp("md0", ("md" + std::string(200, '9')).c_str()), -INT_MAX);
}

TEST_F(md_name, next_name_has_the_next_number) {
  EXPECT_EQ(after("md0"), "md1");
  EXPECT_EQ(after("md9"), "md10");
  EXPECT_EQ(after("md_d5"), "md1");
  EXPECT_EQ(after(""), "md1");
  EXPECT_EQ(after(nullptr), "md1");
  EXPECT_EQ(after("md2147483647"), "md2147483647");
  EXPECT_EQ(auto_md_name("md0", nullptr), 0);
}
