#include <orv/support.h>

#include <limits>

#include "tests/share/discovery.h"
#include "tests/share/odd_ini_file.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class declared_shares : public discovery_test {
 protected:
  sandbox::lines declared(const std::string& text) {
    shares(text);
    return after(get_shareinfo_from_shareconf);
  }

  /// The service of a share with these lines.
  std::string service_of(const std::string& lines) {
    shares("[s]\n" + lines);
    share_list found;
    EXPECT_EQ(get_shareinfo_from_shareconf(found.get()), ORV_OK);
    return found.only().service;
  }

  uint64_t size_of(const std::string& value) {
    shares("[s]\nsize = " + value + "\n");
    share_list found;
    EXPECT_EQ(get_shareinfo_from_shareconf(found.get()), ORV_OK);
    EXPECT_STREQ(found.only().service, "");
    return found.only().size;
  }
};

TEST_F(declared_shares, are_listed_in_the_order_of_the_file) {
  EXPECT_THAT(
      declared(listed("photos") + listed("films", "nfs") + listed("parked", "")),
      ElementsAre("photos|of photos|/mnt/photos|samba||rw", "films|of films|/mnt/films|nfs||rw",
                  "parked|of parked|/mnt/parked|||rw"));
  for (const tag_share_config* share : list.records()) {
    EXPECT_STREQ(share->status, "N.A.");
    EXPECT_EQ(share->size, 7U);
    EXPECT_EQ(share->used, 0U);
  }
  EXPECT_EQ(machine.output(), "");
}

TEST_F(declared_shares, follow_what_the_list_has_already) {
  add("first", "samba", "/first");
  EXPECT_THAT(declared(listed("second")),
              ElementsAre("first||/first|samba||rw", "second|of second|/mnt/second|samba||rw"));
}

TEST_F(declared_shares, of_several_services_have_a_list_of_them) {
  EXPECT_EQ(service_of("samba = 1\nnfs = 1\n"), "samba,nfs");
  EXPECT_EQ(service_of("iscsi = 1\nftp = 1\nnfs = 1\nsamba = 1\n"), "samba,nfs,ftp,iSCSI");
  EXPECT_EQ(service_of("samba = 0\nnfs = 0\nftp = 1\niscsi = 1\n"), "ftp,iSCSI");
}

TEST_F(declared_shares, spell_iscsi_in_their_own_way) {
  EXPECT_EQ(service_of("iscsi = 1\n"), "iSCSI");
}

TEST_F(declared_shares, have_a_service_only_where_the_value_is_1) {
  for (const char* value : {"0", "", "11", "1 0", "01", "yes", "-1", "1=1", "\0011"}) {
    EXPECT_EQ(service_of(std::string("samba = ") + value + "\n"), "") << value;
  }
  EXPECT_EQ(service_of("samba=1"), "samba");
  EXPECT_EQ(service_of("samba =\t1 \r\n"), "samba");
  EXPECT_EQ(service_of("Samba = 1\nSAMBA = 1\n"), "");
}

TEST_F(declared_shares, have_what_c_sees_of_a_value_wherever_a_block_ends) {
  constexpr std::size_t block = 32UL * 1024;
  const std::string line("samba = 1\0b\n", 12);
  for (std::size_t before_end = 0; before_end <= line.size(); ++before_end) {
    const std::string head = "[s]\nx = ";
    const std::string filler(block - before_end - head.size() - 1, 'x');
    shares(head + filler + '\n' + line);
    share_list found;
    EXPECT_EQ(get_shareinfo_from_shareconf(found.get()), ORV_OK);
    EXPECT_STREQ(found.only().service, "samba") << before_end;
  }
}

TEST_F(declared_shares, have_the_size_that_their_value_begins_with) {
  constexpr uint64_t most = std::numeric_limits<uint64_t>::max();
  EXPECT_EQ(size_of("3000000000"), 3000000000U);
  EXPECT_EQ(size_of("18446744073709551615"), most);
  EXPECT_EQ(size_of("18446744073709551616"), most);
  EXPECT_EQ(size_of("12 GB"), 12U);
  EXPECT_EQ(size_of("0x10"), 0U);
  EXPECT_EQ(size_of("010"), 10U);
  EXPECT_EQ(size_of("-1"), most);
  EXPECT_EQ(size_of("many"), 0U);
  EXPECT_EQ(size_of(""), 0U);
  EXPECT_EQ(size_of(std::string(30, '0') + "56"), 5U);
}

TEST_F(declared_shares, have_texts_that_fit_their_fields) {
  EXPECT_THAT(declared("[s]\nsharename=" + std::string(300, 'n') + "\ncomment=" +
                       std::string(300, 'c') + "\npath=/" + std::string(300, 'p') + "\n"),
              ElementsAre(std::string(32, 'n') + '|' + std::string(127, 'c') + "|/" +
                          std::string(126, 'p') + "|||rw"));
}

TEST_F(declared_shares, may_be_named_otherwise_than_their_section) {
  EXPECT_THAT(declared("[section]\nsharename = name\n[nothing]\n"),
              ElementsAre("name|||||rw", "|||||rw"));
}

TEST_F(declared_shares, of_a_head_that_is_not_closed_are_empty_records) {
  EXPECT_THAT(declared("[open\nsharename = a\n[\nsharename = b\n[cut\r]\nsharename = c\n"),
              ElementsAre("|||||rw", "|||||rw", "|||||rw"));
}

TEST_F(declared_shares, of_a_head_with_more_behind_it_are_found) {
  EXPECT_THAT(declared("[s] tail\nsharename = a\n[ t ]\nsharename = b\n[]\nsharename = c\n"),
              ElementsAre("a|||||rw", "b|||||rw", "c|||||rw"));
}

TEST_F(declared_shares, of_a_name_longer_than_34_characters_are_empty_records) {
  const std::string fits(34, 'n');
  EXPECT_THAT(declared('[' + fits + "n]\nsharename = long\n"), ElementsAre("|||||rw"));
  EXPECT_THAT(declared('[' + fits + "]\nsharename = fits\n"),
              ElementsAre("|||||rw", "fits|||||rw"));
}

TEST_F(declared_shares, of_a_cut_name_are_those_of_that_name) {
  const std::string fits(34, 'n');
  EXPECT_THAT(declared('[' + fits + "n]\nsharename = long\n[" + fits + "]\nsharename = fits\n"),
              ElementsAre("fits|||||rw", "fits|||||rw"));
}

TEST_F(declared_shares, of_an_indented_head_are_none_but_end_the_section_before) {
  for (const char* indent : {" ", "\t", "   ", "    ", "     ", "    \t"}) {
    shares(std::string("[s]\nsharename = a\n") + indent + "[t]\ncomment = of t\n");
    share_list found;
    EXPECT_EQ(get_shareinfo_from_shareconf(found.get()), ORV_OK);
    EXPECT_THAT(found.told(), ElementsAre("a|||||rw"));
  }
}

TEST_F(declared_shares, have_settings_that_may_be_indented) {
  for (const char* indent : {"", " ", "\t", "   ", "    ", "     ", "        ", "    \t "}) {
    EXPECT_EQ(service_of(std::string(indent) + "ftp = 1\n"), "ftp");
  }
}

TEST_F(declared_shares, of_one_section_name_are_all_the_first_one) {
  EXPECT_THAT(declared("[s]\nsharename = a\nsharename = b\n[s]\nsharename = c\ncomment = late\n"),
              ElementsAre("a|||||rw", "a|||||rw"));
}

TEST_F(declared_shares, of_one_section_name_are_the_first_one_among_thousands) {
  constexpr std::size_t count = 2000;
  std::string first;
  std::string again;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string name = "share" + std::to_string(i);
    first += listed(name);
    again += listed(name, "nfs");
  }
  const sandbox::lines all = declared(first + again);
  ASSERT_EQ(all.size(), 2 * count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string name = "share" + std::to_string(i);
    ASSERT_EQ(all[i], name + "|of " + name + "|/mnt/" + name + "|samba||rw");
    ASSERT_EQ(all[count + i], all[i]);
  }
}

TEST_F(declared_shares, take_the_first_of_equal_keys_also_when_it_is_empty) {
  EXPECT_THAT(declared("[s]\nsharename = a\ncomment =\ncomment = late\n"), ElementsAre("a|||||rw"));
}

TEST_F(declared_shares, may_have_equal_signs_quotes_and_brackets_in_their_values) {
  EXPECT_THAT(declared("[s]\nsharename = a\ncomment = x=[y] \"z\" # ; \xc3\xa4\npath = /a b\n"),
              ElementsAre("a|x=[y] \"z\" # ; \xc3\xa4|/a b|||rw"));
}

TEST_F(declared_shares, are_none_in_a_file_without_a_section) {
  for (const char* text : {"", "\n", "sharename = a\n", "#[s]\n", "]\n"}) {
    EXPECT_THAT(declared(text), IsEmpty()) << text;
  }
  EXPECT_THAT(declared(std::string(100000, 'x')), IsEmpty());
}

TEST_F(declared_shares, are_none_where_the_file_cannot_be_read) {
  EXPECT_THAT(after(get_shareinfo_from_shareconf), IsEmpty());
  machine.directory(shares_path);
  EXPECT_THAT(after(get_shareinfo_from_shareconf), IsEmpty());
  machine.remove(shares_path);
  machine.link(shares_path, shares_path);
  EXPECT_THAT(after(get_shareinfo_from_shareconf), IsEmpty());
}

TEST_F(declared_shares, need_no_line_end_at_the_end_and_survive_long_lines) {
  EXPECT_THAT(declared("[s]\n" + std::string(100000, 'x') +
                       "=1\ncomment=" + std::string(100000, 'c') + "\nsharename=a"),
              ElementsAre("a|" + std::string(127, 'c') + "||||rw"));
}

TEST_F(declared_shares, refuse_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_shareconf, "get_shareinfo_from_shareconf");
}

TEST_F(declared_shares, take_one_opening_of_the_file_however_many_they_are) {
  std::string text;
  for (int i = 0; i < 500; ++i) text += listed("share" + std::to_string(i));
  shares(text);
  machine.fail("fopen", EMFILE, 2);
  const sandbox::lines all = after(get_shareinfo_from_shareconf);
  ASSERT_EQ(all.size(), 500U);
  EXPECT_EQ(all[499], "share499|of share499|/mnt/share499|samba||rw");
}

/// The shares as lookups of every single key find them.
sandbox::lines looked_up_one_by_one(const char* path, const odd_ini_file& file) {
  sandbox::lines all;
  char head[35];
  for (int n = 1; txt_line_seek(path, "[", n, head, sizeof head) >= 0; ++n) {
    tag_share_config share;
    share_conf_init(&share);
    if (file.is_closed_head(n)) {
      const auto look_up = [&](const char* key, char* out, int size) {
        return ini_value_get(out, path, head, key, size) == 0;
      };
      look_up("sharename", share.name, sizeof share.name);
      look_up("comment", share.comment, sizeof share.comment);
      look_up("path", share.path, sizeof share.path);
      char size[32] = "";
      if (look_up("size", size, sizeof size)) share.size = std::strtoul(size, nullptr, 10);
      for (const char* key : {"samba", "nfs", "ftp", "iscsi"}) {
        char value[3] = "";
        look_up(key, value, sizeof value);
        const char* const word = std::string(key) == "iscsi" ? "iSCSI" : key;
        share_conf_set_value(share.service, word, value);
      }
    }
    all.push_back(told(share) + '|' + std::to_string(share.size));
  }
  return all;
}

TEST_F(declared_shares, are_what_lookups_one_by_one_find_in_whatever_file) {
  odd_ini_file file({"sharename", "comment", "path", "size", "samba", "nfs", "ftp", "iscsi"});
  std::size_t records = 0;
  for (int i = 0; i < 1000; ++i) {
    shares(file.next());
    share_list found;
    ASSERT_EQ(get_shareinfo_from_shareconf(found.get()), ORV_OK);
    sandbox::lines all;
    for (const tag_share_config* share : found.records()) {
      all.push_back(told(*share) + '|' + std::to_string(share->size));
    }
    ASSERT_EQ(all, looked_up_one_by_one(shares_path, file)) << file.text();
    records += all.size();
  }
  EXPECT_GT(records, 2000U);
}

}  // namespace
