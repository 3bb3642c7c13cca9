#include "tools/orvctl/table.h"

#include <gtest/gtest.h>

#include <vector>

using orvctl::form;
using orvctl::json;

namespace {

struct animal {
  const char* name;
  std::uint64_t size;
  bool wild;
};

constexpr orvctl::column<animal> columns[] = {
    {"NAME", "name", form::text, [](const animal& each) { return orvctl::text_value(each.name); }},
    {"SIZE", "size_bytes", form::mib,
     [](const animal& each) { return orvctl::mib_value(each.size); }},
    {"WILD", nullptr, form::text, [](const animal& each) { return json(each.wild); }},
    {nullptr, "wild", form::text, [](const animal& each) { return json(each.wild); }},
};

}  // namespace

TEST(table, has_a_heading_and_aligns_numbers_to_the_right) {
  const std::vector<animal> animals = {{"ox", 1000, false}, {"aurochs", 9, true}};
  EXPECT_EQ(orvctl::make_table(columns, animals).text(),
            "NAME        SIZE WILD\n"
            "ox      1000 MiB no\n"
            "aurochs    9 MiB yes\n");
}

TEST(table, gives_objects_of_the_columns_with_a_key) {
  const std::vector<animal> animals = {{"aurochs", 9, true}};
  EXPECT_EQ(orvctl::make_table(columns, animals).objects().dump(),
            R"([{"name":"aurochs","size_bytes":9437184,"wild":true}])");
}

TEST(table, has_no_value_for_an_empty_text_and_an_unreadable_size) {
  const std::vector<animal> animals = {{"  ", UINT64_MAX, false}};
  const orvctl::table shown = orvctl::make_table(columns, animals);
  EXPECT_EQ(shown.text(), "NAME SIZE WILD\n-       - no\n");
  EXPECT_EQ(shown.objects()[0]["name"], nullptr);
  EXPECT_EQ(shown.objects()[0]["size_bytes"], nullptr);
}

TEST(table, shows_control_characters_as_escapes_in_one_line) {
  const std::vector<animal> animals = {{"a\nb\x1b[2J", 1, false}};
  const orvctl::table shown = orvctl::make_table(columns, animals);
  EXPECT_EQ(shown.text(), "NAME           SIZE WILD\na\\x0ab\\x1b[2J 1 MiB no\n");
  EXPECT_EQ(shown.objects()[0]["name"], "a\nb\x1b[2J");
}

TEST(table, without_records_is_empty) {
  const orvctl::table shown = orvctl::make_table(columns, std::vector<animal>());
  EXPECT_TRUE(shown.empty());
  EXPECT_EQ(shown.objects().dump(), "[]");
}
