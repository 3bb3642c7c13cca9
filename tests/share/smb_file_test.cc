#include "tests/share/share_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class smb_file : public share_test {
 protected:
  sandbox::lines read_back(const std::string& text, int expected = ORV_OK) {
    return read_with(get_share_from_smb, text, expected);
  }
  /// What becomes of a text when shares are written to it.
  std::string written_to(const std::string& text, share_list& list) {
    smb(text);
    const open_file file(smb_path);
    EXPECT_EQ(put_share_to_smb(file.number(), list.get()), ORV_OK);
    EXPECT_TRUE(is_committed(smb_path));
    return smb();
  }
};

TEST_F(smb_file, is_read_section_by_section) {
  EXPECT_THAT(read_back("[global]\n  path = /g\n[a]\n  comment = A a\n  path = /a\n"
                        "  writable = yes\n  valid users = ann,bob\n  other = x\n"
                        "[b]\n\twriteable = no\n"),
              ElementsAre("a|A a|/a|samba|ann,bob|rw", "b|||samba||ro"));
}

TEST_F(smb_file, is_writable_only_by_exactly_yes) {
  EXPECT_THAT(read_back("[a]\nwritable = Yes\n[b]\nwritable =\n[c]\nwritable = no\n"
                        "writeable = yes\n[d]\nread only = yes\n"),
              ElementsAre("a|||samba||ro", "b|||samba||ro", "c|||samba||rw", "d|||samba||rw"));
}

TEST_F(smb_file, keeps_the_first_value_that_is_not_empty) {
  EXPECT_THAT(read_back("[a]\ncomment =\ncomment = c\ncomment = d\npath = /e\npath = /f\n"
                        "valid users = g\nvalid users = h\n"),
              ElementsAre("a|c|/e|samba|g|rw"));
}

TEST_F(smb_file, passes_over_all_of_the_global_section) {
  EXPECT_THAT(read_back("[global]\nsocket options = A=1 B=2\nno sense\n; x\n[a]\n"),
              ElementsAre("a|||samba||rw"));
  EXPECT_THAT(read_back("[Global]\n[global ]\n[a]\n[global]\npath = /g\n"),
              ElementsAre("Global|||samba||rw", "global |||samba||rw", "a|||samba||rw"));
}

TEST_F(smb_file, passes_over_settings_before_any_section_comments_and_short_lines) {
  EXPECT_THAT(read_back("path = /x\nwritable = no\n# [x\n#a=b=c\n[]\nab\n[a]\n"),
              ElementsAre("a|||samba||rw"));
}

TEST_F(smb_file, is_refused_when_a_line_makes_no_sense) {
  for (const char* line : {"[bc", "a = b = c", "no setting", "; comment"}) {
    EXPECT_THAT(read_back("[a]\n" + std::string(line) + "\n", ORV_E_SHARE_SYNTAX), SizeIs(1));
  }
  EXPECT_THAT(read_back("[global\n", ORV_E_SHARE_SYNTAX), IsEmpty());
  EXPECT_THAT(read_back("a = b = c\n", ORV_E_SHARE_SYNTAX), IsEmpty());
}

TEST_F(smb_file, keeps_its_first_section_byte_for_byte) {
  share_list list;
  tag_share_config closed = a_share("b");
  closed.writable = 0;
  set_field(closed.valid_users, "");
  list.add(a_share("a")).add(closed);
  const std::string settings("# head\n[global]\n\tx = y\r\n\0\xff\n\n", 28);
  EXPECT_EQ(written_to(settings + "[old]\npath = /old\n[older]\n", list),
            settings + offered("a") + offered("b", "", "writable = no"));
}

TEST_F(smb_file, counts_a_bracket_wherever_it_stands) {
  share_list list;
  list.add(a_share("a"));
  EXPECT_EQ(written_to("# see [1]\n[global]\nx = y\n[old]\n", list), "# see [1]\n" + offered("a"));
  EXPECT_EQ(written_to("[global]\n# see [1]\nx = y\n[old]\n", list),
            "[global]\n# see \n" + offered("a"));
}

TEST_F(smb_file, is_kept_whole_without_a_second_section) {
  share_list list;
  list.add(a_share("a"));
  EXPECT_EQ(written_to(global, list), global + offered("a"));
  EXPECT_EQ(written_to("", list), offered("a"));
}

TEST_F(smb_file, gets_a_line_end_before_anything_is_appended) {
  share_list list;
  EXPECT_EQ(written_to("[global]\nx = y", list), "[global]\nx = y");
  list.add(a_share("a"));
  EXPECT_EQ(written_to("[global]\nx = y", list), "[global]\nx = y\n" + offered("a"));
}

TEST_F(smb_file, has_global_settings_of_any_size) {
  const std::string settings = "[global]\n" + std::string(200000, '#') + "\n";
  share_list list;
  list.add(a_share("a"));
  EXPECT_EQ(written_to(settings + offered("old"), list), settings + offered("a"));
}

TEST_F(smb_file, is_unchanged_when_its_global_settings_cannot_be_read) {
  smb(global);
  const open_file file(smb_path, O_WRONLY);
  share_list list;
  EXPECT_EQ(put_share_to_smb(file.number(), list.get()), ORV_E_SHARE_READ);
  EXPECT_EQ(smb(), global);
  EXPECT_FALSE(was_committed(smb_path));
}

TEST_F(smb_file, keeps_no_global_settings_in_the_recycle_file) {
  share_list list;
  tag_share_config closed = a_share("b");
  closed.writable = 0;
  list.add(a_share("a")).add(closed);
  machine.file(smb_recy_path, global);
  const open_file file(smb_recy_path);
  EXPECT_EQ(put_share_to_smb_recy(file.number(), list.get()), ORV_OK);
  EXPECT_EQ(machine.read(smb_recy_path), parked("a") + offered("b", "ann", "writeable = no"));
  EXPECT_TRUE(is_committed(smb_recy_path));
  EXPECT_THAT(read_back(machine.read(smb_recy_path)),
              ElementsAre("a|of a|/mnt/a|samba|ann|rw", "b|of b|/mnt/b|samba|ann|ro"));
}

TEST_F(smb_file, never_has_a_share_that_would_change_the_global_settings) {
  share_list list;
  for (const char* const name :
       {"global", "Global", "globals", "g lobal", "GLO\tBALS ", " global"}) {
    list.add(a_share(name));
  }
  list.add(a_share("a")).add(a_share("globalss")).add(a_share("global_"));
  EXPECT_EQ(written_to(global, list),
            global + offered("a") + offered("globalss") + offered("global_"));
  const open_file file(smb_recy_path);
  EXPECT_EQ(put_share_to_smb_recy(file.number(), list.get()), ORV_OK);
  EXPECT_EQ(machine.read(smb_recy_path), parked("a") + parked("globalss") + parked("global_"));
}

TEST_F(smb_file, lets_nobody_in_when_no_character_of_its_users_is_left) {
  for (const auto& [users, written] :
       {std::pair("=", "_"), std::pair("\\\\", "_"), std::pair("", ""), std::pair("\n", "")}) {
    tag_share_config share = a_share("a");
    set_field(share.valid_users, users);
    share_list list;
    list.add(share);
    EXPECT_THAT(read_back(written_to(global, list)),
                ElementsAre(std::string("a|of a|/mnt/a|samba|") + written + "|rw"))
        << users;
  }
}
