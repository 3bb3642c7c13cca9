#include "tests/share/discovery.h"

using testing::ElementsAre;

namespace {

class nfs_clients : public discovery_test {
 protected:
  /// "CLIENTS|rw" of a share at "/mnt/s", that had the clients "before", after these exports.
  std::string with(const std::string& text) {
    exports(text);
    share_list one;
    tag_share_config share = a_share("s", "nfs");
    set_field(share.valid_users, "before");
    one.add(share);
    EXPECT_EQ(get_shareinfo_from_exportfs(one.get()), ORV_OK);
    EXPECT_EQ(machine.log(), "");
    return std::string(one.only().valid_users) + (one.only().writable == 1 ? "|rw" : "|ro");
  }
};

TEST_F(nfs_clients, and_rights_are_found_by_the_path) {
  add("photos", "nfs", "/mnt/photos");
  add("films", "NFS", "/mnt/films");
  exports("# exports\n\n" + exported("films", "10.0.0.0/24", "ro") + exported("other") +
          exported("photos", "*"));
  EXPECT_THAT(after(get_shareinfo_from_exportfs),
              ElementsAre("photos||/mnt/photos|nfs|*|rw", "films||/mnt/films|NFS|10.0.0.0/24|ro"));
  EXPECT_EQ(machine.output(), "");
}

TEST_F(nfs_clients, are_those_of_nfs_shares_only) {
  for (const char* service : {"samba,nfs", "samba", "", "nfs4"}) add("s", service, "/mnt/s");
  exports(exported("s", "10.0.0.1", "ro"));
  EXPECT_THAT(after(get_shareinfo_from_exportfs),
              ElementsAre("s||/mnt/s|samba,nfs||rw", "s||/mnt/s|samba||rw", "s||/mnt/s|||rw",
                          "s||/mnt/s|nfs4||rw"));
}

TEST_F(nfs_clients, go_to_the_first_share_of_their_path) {
  add("a", "samba", "/mnt/s");
  add("b", "nfs", "/mnt/s");
  add("c", "nfs", "/mnt/s");
  exports(exported("s", "host", "ro"));
  EXPECT_THAT(after(get_shareinfo_from_exportfs),
              ElementsAre("a||/mnt/s|samba||rw", "b||/mnt/s|nfs|host|ro", "c||/mnt/s|nfs||rw"));
}

TEST_F(nfs_clients, end_at_a_blank_or_a_parenthesis) {
  EXPECT_EQ(with("/mnt/s a,b(rw,sync)\n"), "a,b|rw");
  EXPECT_EQ(with("/mnt/s one(rw) two(ro)\n"), "one|rw");
  EXPECT_EQ(with("/mnt/s one two(ro,sync)\n"), "one|ro");
  EXPECT_EQ(with("/mnt/s  \t host (ro,sync)\n"), "host|ro");
  EXPECT_EQ(with("/mnt/s host\n"), "host|rw");
  EXPECT_EQ(with("/mnt/s (ro,sync)\n"), "|ro");
}

TEST_F(nfs_clients, may_write_unless_the_first_option_is_ro) {
  EXPECT_EQ(with("/mnt/s *(ro,sync)\n"), "*|ro");
  EXPECT_EQ(with("/mnt/s *(ro)\n"), "*|ro");
  for (const char* options :
       {"(rw,ro)", "(sync,ro)", "(RO,sync)", "(rox)", "( ro)", "()", "(", ""}) {
    EXPECT_EQ(with(std::string("/mnt/s *") + options + '\n'), "*|rw") << options;
  }
}

TEST_F(nfs_clients, of_a_later_line_replace_those_of_an_earlier_one_but_not_its_right) {
  EXPECT_EQ(with("/mnt/s one(ro,sync)\n/mnt/s two(rw,sync)\n"), "two|ro");
}

TEST_F(nfs_clients, fit_their_field) {
  EXPECT_EQ(with("/mnt/s " + std::string(300, 'h') + "(ro)\n"), std::string(248, 'h') + "|rw");
}

TEST_F(nfs_clients, are_no_others_than_those_of_the_very_path) {
  for (const char* line :
       {"/mnt/S x(ro)", "/mnt/s/ x(ro)", "/mnt x(ro)", "/mnt/s2 x(ro)", "#/mnt/s x(ro)",
        " # /mnt/s x(ro)", "/mnt/s\tx(ro)", "/mnt/s(ro)", "/mnt/s", "", "   ", "x /mnt/s(ro)"}) {
    EXPECT_EQ(with(std::string(line) + '\n'), "before|rw") << line;
  }
}

TEST_F(nfs_clients, are_found_in_lines_with_blanks_around_and_in_a_last_line_without_an_end) {
  EXPECT_EQ(with("\t  /mnt/s host(ro,sync) \r\n"), "host|ro");
  EXPECT_EQ(with("/mnt/s host(ro,sync)"), "host|ro");
}

TEST_F(nfs_clients, are_found_for_a_path_as_exports_writes_it) {
  add("my share", "nfs", "/mnt/my share");
  add("hash", "nfs", "/mnt/a#b\\c");
  exports("/mnt/my\\040share host(ro,sync)\n/mnt/a\\043b\\134c *(rw,sync)\n");
  EXPECT_THAT(after(get_shareinfo_from_exportfs),
              ElementsAre("my share||/mnt/my share|nfs|host|ro", "hash||/mnt/a#b\\c|nfs|*|rw"));
}

TEST_F(nfs_clients, of_a_share_are_found_as_they_were_written) {
  share_list written;
  for (const char* name : {"plain", "my share", "x#y", "p(1)"}) {
    tag_share_config share = a_share(name, "nfs");
    share.writable = 0;
    written.add(share);
    add(name, "nfs", std::string("/mnt/") + name);
  }
  const open_file file(exports_path);
  ASSERT_EQ(put_share_to_nfs(file.number(), written.get()), ORV_OK);
  for (const std::string& told : after(get_shareinfo_from_exportfs)) {
    EXPECT_THAT(told, testing::EndsWith("|nfs|ann|ro"));
  }
}

TEST_F(nfs_clients, are_looked_for_in_the_first_255_bytes_of_a_line) {
  const std::string too_far = "/mnt/s host" + std::string(250, ' ') + "(ro)\n";
  EXPECT_EQ(with(too_far + std::string(255, 'x') + "/mnt/s late(ro)\n"), "host|rw");
}

TEST_F(nfs_clients, are_no_error_where_there_are_no_exports) {
  add("s", "nfs", "/mnt/s");
  EXPECT_THAT(after(get_shareinfo_from_exportfs), ElementsAre("s||/mnt/s|nfs||rw"));
  exports("");
  EXPECT_THAT(after(get_shareinfo_from_exportfs), ElementsAre("s||/mnt/s|nfs||rw"));
  machine.remove(exports_path);
  machine.directory(exports_path);
  EXPECT_EQ(get_shareinfo_from_exportfs(list.get()), ORV_E_EXPORTS);
  EXPECT_THAT(list.told(), ElementsAre("s||/mnt/s|nfs||rw"));
}

TEST_F(nfs_clients, are_no_error_where_the_exports_cannot_be_examined) {
  exports(exported("s"));
  machine.fail("stat", EACCES);
  EXPECT_EQ(get_shareinfo_from_exportfs(list.get()), ORV_OK);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(nfs_clients, are_an_error_where_the_exports_cannot_be_opened) {
  exports(exported("s"));
  machine.fail("fopen", EACCES);
  EXPECT_EQ(get_shareinfo_from_exportfs(list.get()), ORV_E_EXPORTS);
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "get_shareinfo_from_exportfs:816 return -1060 with Permission denied\n");
}

TEST_F(nfs_clients, survive_what_is_no_text) {
  std::string bytes;
  for (int i = 0; i < 4096; ++i) bytes += static_cast<char>(i * 7);
  EXPECT_EQ(with(bytes + '\n' + std::string(100000, '/') + '\n' + exported("s", "host", "ro")),
            "host|ro");
}

TEST_F(nfs_clients, refuse_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_exportfs, "get_shareinfo_from_exportfs");
}

}  // namespace
