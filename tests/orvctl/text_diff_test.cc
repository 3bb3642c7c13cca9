#include "tools/orvctl/text_diff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/orvctl/file_changes.h"

using orvctl::unified_diff;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(text_diff, of_a_text_and_itself_is_empty) {
  EXPECT_THAT(unified_diff("one\ntwo\n", "one\ntwo\n"), IsEmpty());
  EXPECT_THAT(unified_diff("", ""), IsEmpty());
}

TEST(text_diff, shows_what_goes_and_what_comes) {
  EXPECT_THAT(unified_diff("one\ntwo\nthree\n", "one\n2\nthree\nfour\n"),
              ElementsAre("@@ -1,3 +1,4 @@", " one", "-two", "+2", " three", "+four"));
  EXPECT_THAT(unified_diff("", "one\n"), ElementsAre("@@ -0,0 +1 @@", "+one"));
  EXPECT_THAT(unified_diff("one\n", ""), ElementsAre("@@ -1 +0,0 @@", "-one"));
}

TEST(text_diff, shows_three_lines_around_a_change) {
  EXPECT_THAT(unified_diff("1\n2\n3\n4\n5\n6\n7\n8\n9\n", "1\n2\n3\n4\nV\n6\n7\n8\n9\n"),
              ElementsAre("@@ -2,7 +2,7 @@", " 2", " 3", " 4", "-5", "+V", " 6", " 7", " 8"));
}

TEST(text_diff, has_a_hunk_for_each_distant_change) {
  std::string before;
  for (int line = 1; line <= 20; ++line) before += std::to_string(line) + "\n";
  EXPECT_THAT(unified_diff(before, "0\n" + before + "21\n"),
              ElementsAre("@@ -1,3 +1,4 @@", "+0", " 1", " 2", " 3", "@@ -18,3 +19,4 @@", " 18",
                          " 19", " 20", "+21"));
}

namespace {

orvctl::file_tree tree(const std::string& key, const std::string& content) {
  return {{key, {S_IFREG | 0644U, 0, 0, content}}};
}

}  // namespace

TEST(file_changes, are_found_by_content_and_mode) {
  const auto changes = changes_between("/etc", tree("a", "1\n"), tree("b", "1\n"));
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[0].path, "/etc/a");
  EXPECT_EQ(changes[0].change, "removed");
  EXPECT_EQ(changes[1].change, "created");
  orvctl::file_tree closed = tree("a", "1\n");
  closed["a"].mode = S_IFREG | 0600U;
  EXPECT_EQ(changes_between("/etc", tree("a", "1\n"), closed)[0].change, "mode");
  EXPECT_THAT(changes_between("/etc", tree("a", "1\n"), tree("a", "1\n")), IsEmpty());
}

TEST(file_changes, hide_passwords) {
  const auto shadow = changes_between("/etc", tree("shadow", ""), tree("shadow", "ann:$6$rose:\n"));
  EXPECT_EQ(shadow[0].diff, "(holds passwords, and is not shown)\n");
  const auto target = changes_between("/etc", tree("ietd.conf", ""),
                                      tree("ietd.conf", "Target a\n\tIncomingUser ann rose\n"));
  EXPECT_EQ(target[0].diff, "@@ -0,0 +1,2 @@\n+Target a\n+\tIncomingUser ann ***\n");
}
