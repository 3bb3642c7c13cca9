#include "tests/share/share_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class exports_file : public share_test {
 protected:
  sandbox::lines read_back(const std::string& text, int expected = ORV_OK) {
    return read_with(get_share_from_nfs, text, expected);
  }
  /// The line of a share with this path and these clients.
  std::string line_of(const std::string& path, const std::string& clients) {
    share_list list;
    list.add(a_share("a", "nfs"));
    set_field(list.only().path, path);
    set_field(list.only().valid_users, clients);
    const open_file file(exports_path);
    EXPECT_EQ(put_share_to_nfs(file.number(), list.get()), ORV_OK);
    return exports();
  }
};

TEST_F(exports_file, has_one_line_for_each_share) {
  share_list list;
  tag_share_config closed = a_share("b", "nfs");
  closed.writable = 0;
  set_field(closed.valid_users, "");
  list.add(a_share("a", "nfs")).add(closed);
  exports("/old *(rw)\n/older *(rw)\n");
  const open_file file(exports_path);
  EXPECT_EQ(put_share_to_nfs(file.number(), list.get()), ORV_OK);
  EXPECT_EQ(exports(), "/mnt/a ann(rw,sync,no_root_squash)\n/mnt/b *(ro,sync,no_root_squash)\n");
  EXPECT_TRUE(is_committed(exports_path));
}

TEST_F(exports_file, commits_another_name_than_the_recycle_file) {
  share_list list;
  list.add(a_share("a", "nfs"));
  machine.file("/etc/exports_recy.conf", "other\n");
  const open_file file(exports_recy_path);
  EXPECT_EQ(put_share_to_nfs_recy(file.number(), list.get()), ORV_OK);
  EXPECT_EQ(machine.read(exports_recy_path), exported("a"));
  EXPECT_TRUE(is_committed("/etc/exports_recy.conf"));
  EXPECT_FALSE(was_committed(exports_recy_path));
}

TEST_F(exports_file, gives_path_name_and_clients) {
  EXPECT_THAT(
      read_back("/mnt/vg/a 10.0.0.0/8(rw,sync)\n  /b   c, d (rw)  \n/c/ *(rw,sync)\n"),
      ElementsAre("a||/mnt/vg/a|nfs|10.0.0.0/8|rw", "b||/b|nfs|c, d |rw", "||/c/|nfs|*|rw"));
}

TEST_F(exports_file, names_a_share_by_the_end_of_a_path_that_is_cut) {
  const std::string path = "/mnt/" + std::string(121, 'x') + "/abcd";
  EXPECT_THAT(read_back(path + " *(rw,sync)\n"),
              ElementsAre("abcd||" + path.substr(0, 127) + "|nfs|*|rw"));
}

TEST_F(exports_file, uses_lines_of_11_characters) {
  EXPECT_THAT(read_back("/mnt/a *(rw)\n/mnt/ *(rw)\n/mn/a *(rw)\n/mn/ *(rw)\n"),
              ElementsAre("a||/mnt/a|nfs|*|rw", "||/mnt/|nfs|*|rw", "a||/mn/a|nfs|*|rw"));
}

TEST_F(exports_file, reads_back_as_writable_whatever_it_says) {
  EXPECT_THAT(read_back("/mnt/a *(ro,sync)\n/mnt/b *(RW)\n/mnt/c *(sync,ro)\n"),
              ElementsAre("a||/mnt/a|nfs|*|rw", "b||/mnt/b|nfs|*|rw", "c||/mnt/c|nfs|*|rw"));
}

TEST_F(exports_file, passes_over_what_is_no_export) {
  EXPECT_THAT(read_back("# /mnt/a *(rw)((\n/mnt *(rw)\n/m((()))\nmnt/abc *(rw)\n/mnt/abc *(rw\n"
                        "/mnt/abcdef(rw)\n/mnt/abc\t*(rw)\n/mnt/a *(rw)\n"),
              ElementsAre("a||/mnt/a|nfs|*|rw"));
}

TEST_F(exports_file, is_refused_when_a_line_has_two_parentheses) {
  EXPECT_THAT(read_back("/mnt/a a(rw)\n/mnt/b a(rw) b(ro)\n/mnt/c a(rw)\n", ORV_E_SHARE_SYNTAX),
              testing::SizeIs(1));
  EXPECT_THAT(read_back("no export ((\n", ORV_E_SHARE_SYNTAX), IsEmpty());
}

TEST_F(exports_file, has_paths_as_exports_writes_them) {
  EXPECT_EQ(line_of("/mnt/my \"share\" (#1)\\x", "a"),
            "/mnt/my\\040\\042share\\042\\040\\050\\0431)\\134x a(rw,sync,no_root_squash)\n");
  EXPECT_THAT(read_back(exports()), ElementsAre("my \"share\" (#1)\\x||/mnt/my \"share\" (#1)\\x|"
                                                "nfs|a|rw"));
  EXPECT_EQ(line_of("/mnt/a\nb\x7f", "a"), "/mnt/a\\012b\\177 a(rw,sync,no_root_squash)\n");
  EXPECT_EQ(line_of("/mnt/\xc3\xa4", "a"), "/mnt/\xc3\xa4 a(rw,sync,no_root_squash)\n");
}

TEST_F(exports_file, never_opens_a_share_to_everybody_by_a_blank) {
  EXPECT_EQ(line_of("/mnt/a", "10.0.0.1 "), exported("a", "10.0.0.1"));
  EXPECT_EQ(line_of("/mnt/a", "10.0.0.1\n"), exported("a", "10.0.0.1"));
  EXPECT_EQ(line_of("/mnt/a", "10.0.0.1("), exported("a", "10.0.0.1"));
  EXPECT_EQ(line_of("/mnt/a", "a(rw) b"), exported("a", "a rw  b"));
}

/// A comment would leave the export without its clients, and a quoted word might take the next
/// lines in.
TEST_F(exports_file, has_no_comment_and_no_quoted_word_among_its_clients) {
  EXPECT_EQ(line_of("/mnt/a", "#10.0.0.1"), exported("a", " 10.0.0.1"));
  EXPECT_EQ(line_of("/mnt/a", "10.0.0.1 #b"), exported("a", "10.0.0.1  b"));
  EXPECT_EQ(line_of("/mnt/a", "\"10.0.0.1"), exported("a", " 10.0.0.1"));
  EXPECT_EQ(line_of("/mnt/a", "10.0.0.1 \"b\""), exported("a", "10.0.0.1  b"));
  EXPECT_EQ(line_of("/mnt/a", "a#b\"c"), exported("a", "a b c"));
  EXPECT_EQ(line_of("/mnt/a", "a\\050rw"), exported("a", "a 050rw"));
  EXPECT_EQ(line_of("/mnt/a", "-rw,a-b --c"), exported("a", " rw,a-b   c"));
}

TEST_F(exports_file, goes_to_nobody_when_no_character_of_its_clients_is_left) {
  for (const char* clients : {"#", "()", "\"\\"}) {
    EXPECT_EQ(line_of("/mnt/a", clients), exported("a", "_")) << clients;
  }
  for (const char* clients : {"", " ", "\n"}) {
    EXPECT_EQ(line_of("/mnt/a", clients), exported("a", "*")) << clients;
  }
}

TEST_F(exports_file, has_as_many_clients_as_a_line_holds) {
  std::string clients = "10.0.0.10";
  while (clients.size() < 240) clients += ",10.0.0.10";
  const std::string line = line_of("/mnt/a", clients);
  EXPECT_LE(line.size(), 257U);
  EXPECT_THAT(line, testing::EndsWith(",10.0.0.10(rw,sync,no_root_squash)\n"));
  EXPECT_THAT(read_back(line), testing::SizeIs(1));
}

TEST_F(exports_file, is_unchanged_when_a_path_fits_no_line) {
  share_list list;
  list.add(a_share("a", "nfs"));
  set_field(list.only().path, "/" + std::string(80, ' ') + "/etc");
  exports("/old *(rw)\n");
  const open_file file(exports_path);
  EXPECT_EQ(put_share_to_nfs(file.number(), list.get()), ORV_E_SHARE_WRITE);
  EXPECT_EQ(exports(), "/old *(rw)\n");
  EXPECT_FALSE(was_committed(exports_path));
}
