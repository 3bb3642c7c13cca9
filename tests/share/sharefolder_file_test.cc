#include "tests/share/share_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class sharefolder_file : public share_test {
 protected:
  sandbox::lines read_back(const std::string& text, int expected = ORV_OK) {
    return read_with(get_share_from_conf, text, expected);
  }
  std::string written(share_list& list) {
    const open_file file(shares_path);
    EXPECT_EQ(put_share_to_conf(file.number(), list.get()), ORV_OK);
    EXPECT_TRUE(is_committed(shares_path));
    return shares();
  }
};

TEST_F(sharefolder_file, is_written_as_sections) {
  share_list list;
  tag_share_config second = a_share("b", "NFS");
  second.size = (5ULL << 32) + 0xffffffffU;
  second.writable = 0;
  list.add(a_share("a")).add(second);
  shares("old\n");
  EXPECT_EQ(written(list),
            "[a]\n    sharename = a\n    path = /mnt/a\n    size = 7\n"
            "    samba = 1\n    nfs = 0\n    ftp = 0\n    iscsi = 0\n    comment = of a\n"
            "[b]\n    sharename = b\n    path = /mnt/b\n    size = -1\n"
            "    samba = 0\n    nfs = 1\n    ftp = 0\n    iscsi = 0\n    comment = of b\n");
}

TEST_F(sharefolder_file, has_the_service_of_a_share_in_any_case) {
  const std::pair<const char*, const char*> cases[] = {
      {"SAMBA", "    samba = 1\n    nfs = 0\n    ftp = 0\n    iscsi = 0\n"},
      {"ftp", "    samba = 0\n    nfs = 0\n    ftp = 1\n    iscsi = 0\n"},
      {"iSCSI", "    samba = 0\n    nfs = 0\n    ftp = 0\n    iscsi = 1\n"},
      {"", "    samba = 0\n    nfs = 0\n    ftp = 0\n    iscsi = 0\n"},
      {"samba,nfs", ""},
      {"CIFS", ""}};
  for (const auto& [service, lines] : cases) {
    share_list list;
    list.add(a_share("a", service));
    EXPECT_EQ(written(list), "[a]\n    sharename = a\n    path = /mnt/a\n    size = 7\n" +
                                 std::string(lines) + "    comment = of a\n");
  }
}

TEST_F(sharefolder_file, is_empty_and_committed_without_shares) {
  shares("old\n");
  share_list list;
  EXPECT_EQ(written(list), "");
}

TEST_F(sharefolder_file, is_read_as_it_was_written) {
  share_list list;
  list.add(a_share("a")).add(a_share("b", "iscsi")).add(a_share("c", ""));
  const std::string text = written(list);
  EXPECT_THAT(read_back(text), ElementsAre("a|of a|/mnt/a|samba||rw", "b|of b|/mnt/b|iscsi||rw",
                                           "c|of c|/mnt/c|||rw"));
}

TEST_F(sharefolder_file, of_a_share_out_of_use_is_all_zero_again) {
  const std::string text = listed("a", "");
  machine.file("/etc/read", text);
  const open_file file("/etc/read");
  share_list list;
  EXPECT_EQ(get_share_from_conf(file.number(), list.get()), ORV_OK);
  EXPECT_STREQ(list.only().service, "");
  EXPECT_EQ(written(list), text);
}

TEST_F(sharefolder_file, takes_the_name_from_the_setting_not_from_the_section) {
  EXPECT_THAT(read_back("[x]\nsharename = a\n"), ElementsAre("a|||||rw"));
  EXPECT_THAT(read_back("[x]\n"), ElementsAre("|||||rw"));
}

TEST_F(sharefolder_file, keeps_the_first_value_that_is_not_empty) {
  EXPECT_THAT(read_back("[x]\nsharename =\nsharename = a\nsharename = b\ncomment = c\n"
                        "comment = d\npath = /e\npath = /f\n"),
              ElementsAre("a|c|/e|||rw"));
}

TEST_F(sharefolder_file, takes_the_first_service_that_is_set_to_one) {
  EXPECT_THAT(read_back("[x]\nsamba = 0\nnfs = 1\nftp = 1\n"), ElementsAre("|||nfs||rw"));
  EXPECT_THAT(read_back("[x]\nsamba = 01\nnfs = yes\nftp = 11\niscsi =\n"), ElementsAre("|||||rw"));
}

TEST_F(sharefolder_file, reads_sizes_as_signed_numbers) {
  const std::pair<const char*, uint64_t> sizes[] = {
      {"12", 12},  {"-1", ~0ULL}, {"7x", 7},
      {"none", 0}, {"0x10", 0},   {"99999999999999999999", 0x7fffffffffffffffULL}};
  for (const auto& [value, size] : sizes) {
    machine.file("/f", "[x]\nsize = 3\nsize = " + std::string(value) + "\n");
    const open_file file("/f");
    share_list list;
    get_share_from_conf(file.number(), list.get());
    EXPECT_EQ(list.only().size, size) << value;
  }
}

TEST_F(sharefolder_file, ignores_short_lines_and_unknown_keys) {
  EXPECT_THAT(read_back("\n  \n[]\nxy\n[x]\n  \tpath\t=  /a b  \nPath = /c\nother = 1\n"),
              ElementsAre("||/a b|||rw"));
}

TEST_F(sharefolder_file, passes_over_settings_before_any_section) {
  EXPECT_THAT(read_back("path = /a\nnfs = 1\nsize = 9\n[x]\n"), ElementsAre("|||||rw"));
}

TEST_F(sharefolder_file, is_refused_when_a_line_makes_no_sense) {
  for (const char* line : {"[bc", "[b] x", "a = b = c", "[a=b=c]", "no setting", "# comment"}) {
    EXPECT_THAT(read_back("[a]\n" + std::string(line) + "\n[c]\n", ORV_E_SHARE_SYNTAX), SizeIs(1))
        << line;
  }
  EXPECT_THAT(read_back("a = b = c\n", ORV_E_SHARE_SYNTAX), IsEmpty());
}

TEST_F(sharefolder_file, cuts_values_to_their_fields) {
  const std::string value(240, 'x');
  EXPECT_THAT(
      read_back("[x]\nsharename = " + value + "\ncomment = " + value + "\npath = " + value + "\n"),
      ElementsAre(value.substr(0, 32) + '|' + value.substr(0, 127) + '|' + value.substr(0, 127) +
                  "|||rw"));
}

TEST_F(sharefolder_file, keeps_a_section_for_a_share_without_a_name) {
  share_list list;
  list.add(a_share("a"));
  set_field(list.only().name, "");
  EXPECT_THAT(written(list), testing::StartsWith("[ ]\n    sharename = \n"));
  EXPECT_THAT(read_back(shares()), ElementsAre("|of a|/mnt/a|samba||rw"));
}
