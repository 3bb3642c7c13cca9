#include "common/record_index.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "common/families.h"

namespace {

class record_index : public testing::Test {
 protected:
  tag_md_info& append(const char* name) {
    tag_md_info& md = *orv::append(list_.get());
    orv::set_text(md.name, name);
    return md;
  }
  orv::record_index<tag_mdinfo_list> index() { return {list_.get(), &tag_md_info::name}; }

  orv::scoped_list<tag_mdinfo_list> list_;
};

TEST_F(record_index, finds_a_record_by_its_whole_text) {
  append("md1");
  const tag_md_info& wanted = append("md10");
  EXPECT_EQ(index().find("md10"), &wanted);
  EXPECT_EQ(index().find("md"), nullptr);
  EXPECT_EQ(index().find("md100"), nullptr);
}

TEST_F(record_index, finds_the_first_of_equal_texts) {
  const tag_md_info& first = append("md1");
  append("md1");
  EXPECT_EQ(index().find("md1"), &first);
}

TEST_F(record_index, finds_a_record_without_text) {
  append("md1");
  const tag_md_info& nameless = append("");
  EXPECT_EQ(index().find(""), &nameless);
}

TEST_F(record_index, of_an_empty_list_finds_nothing) { EXPECT_EQ(index().find(""), nullptr); }

TEST_F(record_index, text_that_fills_its_field_is_found) {
  tag_md_info& md = append("");
  std::memset(md.name, 'm', sizeof md.name);
  EXPECT_EQ(index().find(std::string(sizeof md.name, 'm')), &md);
}

}  // namespace
