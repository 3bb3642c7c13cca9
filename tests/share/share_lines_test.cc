#include <cerrno>

#include "tests/share/share_machine.h"

/// What holds for the lines of every share file.
using share_lines = share_test;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(share_lines, last_line_without_an_end_is_not_read) {
  EXPECT_THAT(read_with(get_share_from_conf, "[a]\n[b]"), testing::SizeIs(1));
  EXPECT_THAT(read_with(get_share_from_smb, "[a]\n[b]"), testing::SizeIs(1));
  EXPECT_THAT(read_with(get_share_from_nfs, "/mnt/a a(rw)\n/mnt/b b(rw)"), testing::SizeIs(1));
  EXPECT_THAT(read_with(get_share_from_ietd, "Target x:a\nTarget x:b"), testing::SizeIs(1));
}

TEST_F(share_lines, end_at_nul_form_feed_and_control_z) {
  EXPECT_THAT(read_with(get_share_from_smb, std::string("[a]\0[b]\f[c]\n", 12)),
              ElementsAre("a|||samba||rw", "b|||samba||rw", "c|||samba||rw"));
  EXPECT_THAT(read_with(get_share_from_nfs, "/mnt/a a(rw)\f/mnt/b b(rw)\n"), testing::SizeIs(2));
  EXPECT_THAT(read_with(get_share_from_smb,
                        "[a]\npath = /b\x1a"
                        "comment = c\n"),
              ElementsAre("a|c|/b\x1a|samba||rw"));
}

TEST_F(share_lines, carriage_return_at_their_end_is_lost) {
  EXPECT_THAT(read_with(get_share_from_smb, "[abc]\r\npath = /mnt/abc\r\ncomment = c\r\n"),
              ElementsAre("abc|c|/mnt/abc|samba||rw"));
  EXPECT_THAT(read_with(get_share_from_conf, "[abc]\r\nsharename = abc\r\nnfs = 1\r\n"),
              ElementsAre("abc|||nfs||rw"));
}

TEST_F(share_lines, carriage_return_inside_cuts_a_setting) {
  EXPECT_THAT(read_with(get_share_from_conf, "[a]\ncomment = one\rtwo\npath = /mnt/abcdef\n"),
              ElementsAre("|one|/mnt/abcdef|||rw"));
  EXPECT_THAT(read_with(get_share_from_smb, "[a]\ncomment = one\rtwo\n"),
              ElementsAre("a|one||samba||rw"));
}

TEST_F(share_lines, carriage_return_shows_what_the_line_before_left_in_exports) {
  EXPECT_THAT(read_with(get_share_from_nfs, "/mnt/abc host(rw)X\n/mnt/def host(rw)\r\n"),
              IsEmpty());
  EXPECT_THAT(read_with(get_share_from_nfs, "/mnt/abc host(rw)\n/mnt/def host(rw\r\n"),
              ElementsAre("abc||/mnt/abc|nfs|host|rw", "def||/mnt/def|nfs|host|rw"));
  EXPECT_THAT(read_with(get_share_from_nfs, "/mnt/abcd host(rw)\n/mnt/def\rhost (rw)\n"),
              ElementsAre("abcd||/mnt/abcd|nfs|host|rw", "defdhost||/mnt/defdhost|nfs||rw"));
}

TEST_F(share_lines, carriage_return_shows_what_the_line_before_left_in_targets) {
  EXPECT_THAT(read_with(get_share_from_ietd, "Target x:abcd\nTarget x:e\rg\n"),
              ElementsAre("abcd|||iscsi||rw", "ebg|||iscsi||rw"));
}

TEST_F(share_lines, buffer_begins_as_nul) {
  EXPECT_THAT(read_with(get_share_from_nfs, "/mnt/abc host(rw)\r\n/mnt/def host(rw)\r\n"),
              ElementsAre("abc||/mnt/abc|nfs|host|rw", "def||/mnt/def|nfs|host|rw"));
}

TEST_F(share_lines, longer_than_256_bytes_go_on_as_the_next) {
  const std::string start = "comment = ";
  const std::string full = start + std::string(256 - start.size(), 'x');
  EXPECT_THAT(read_with(get_share_from_smb, "[a]\n" + full + "path = /b\n"),
              ElementsAre("a|" + std::string(127, 'x') + "|/b|samba||rw"));
  EXPECT_THAT(read_with(get_share_from_conf, "[a]\n" + full + "\npath = /b\n"),
              ElementsAre("|" + std::string(127, 'x') + "|/b|||rw"));
  EXPECT_THAT(read_with(get_share_from_smb, "[a]\n" + full + "no sense\n", ORV_E_SHARE_SYNTAX),
              testing::SizeIs(1));
}

TEST_F(share_lines, of_256_bytes_need_no_end) {
  const std::string head = '[' + std::string(254, 'x') + ']';
  EXPECT_THAT(read_with(get_share_from_smb, head),
              ElementsAre(std::string(32, 'x') + "|||samba||rw"));
}

TEST_F(share_lines, are_found_across_the_blocks_in_which_a_file_is_read) {
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "/mnt/" + std::to_string(100000 + i) + " h(rw)\n";
  const auto found = read_with(get_share_from_nfs, text);
  ASSERT_EQ(found.size(), 20000U);
  for (int i = 0; i < 20000; ++i) {
    const std::string name = std::to_string(100000 + i);
    ASSERT_EQ(found[static_cast<std::size_t>(i)], name + "||/mnt/" + name + "|nfs|h|rw");
  }
}

TEST_F(share_lines, are_read_from_where_the_descriptor_stands) {
  machine.file("/f", "[a]\n[b]\n");
  const open_file file("/f");
  lseek(file.number(), 4, SEEK_SET);
  share_list list;
  EXPECT_EQ(get_share_from_smb(file.number(), list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("b|||samba||rw"));
}

TEST_F(share_lines, cannot_be_read_from_a_file_that_is_no_text) {
  const share_reader readers[] = {get_share_from_conf, get_share_from_smb, get_share_from_nfs,
                                  get_share_from_ietd};
  const open_file directory("/etc", O_RDONLY);
  share_list list;
  for (const share_reader reader : readers) {
    EXPECT_EQ(reader(directory.number(), list.get()), ORV_E_SHARE_READ);
    EXPECT_EQ(reader(-1, list.get()), ORV_E_SHARE_READ);
    EXPECT_EQ(reader(directory.number(), nullptr), ORV_E_FAILED);
    EXPECT_THAT(read_with(reader, ""), IsEmpty());
  }
  EXPECT_THAT(list.told(), IsEmpty());
}

/// A share file of two blocks: two shares stand in the first of them, a third one in the second.
struct two_blocks {
  share_reader reader;
  std::string first;
  std::string second;
  sandbox::lines shares;
};

static const two_blocks files_of_two_blocks[] = {
    {get_share_from_conf,
     "[a]\nsharename = a\n[b]\nsharename = b\n",
     "[c]\nsharename = c\n",
     {"a|||||rw", "b|||||rw", "c|||||rw"}},
    {get_share_from_smb,
     "[a]\n[b]\n",
     "[c]\n",
     {"a|||samba||rw", "b|||samba||rw", "c|||samba||rw"}},
    {get_share_from_nfs,
     "/mnt/a a(rw)\n/mnt/b b(rw)\n",
     "/mnt/c c(rw)\n",
     {"a||/mnt/a|nfs|a|rw", "b||/mnt/b|nfs|b|rw", "c||/mnt/c|nfs|c|rw"}},
    {get_share_from_ietd,
     "Target x:a\nTarget x:b\n",
     "Target x:c\n",
     {"a|||iscsi||rw", "b|||iscsi||rw", "c|||iscsi||rw"}}};

class share_blocks : public share_test {
 protected:
  /// What is read of a file whose second block cannot be read at first.
  sandbox::lines read_with_error(const two_blocks& text, int error, int expected) {
    machine.file("/f", text.first + std::string(64UL * 1024, '\n') + text.second);
    const open_file file("/f");
    share_list list;
    machine.fail("read", error, 2);
    EXPECT_EQ(text.reader(file.number(), list.get()), expected);
    EXPECT_EQ(machine.log(), "");
    return list.told();
  }
};

TEST_F(share_blocks, read_before_an_error_stay_read) {
  for (const two_blocks& file : files_of_two_blocks) {
    EXPECT_THAT(read_with_error(file, EIO, ORV_E_SHARE_READ),
                ElementsAre(file.shares[0], file.shares[1]));
  }
}

TEST_F(share_blocks, are_read_on_after_an_interruption) {
  for (const two_blocks& file : files_of_two_blocks) {
    EXPECT_EQ(read_with_error(file, EINTR, ORV_OK), file.shares);
  }
}

TEST_F(share_lines, of_a_binary_file_do_no_harm) {
  std::string bytes;
  for (int i = 0; i < 200000; ++i) bytes += static_cast<char>((i * 7919 + i / 256) & 0xff);
  for (const share_reader reader :
       {get_share_from_conf, get_share_from_smb, get_share_from_nfs, get_share_from_ietd}) {
    machine.file("/f", bytes);
    const open_file file("/f");
    share_list list;
    const int result = reader(file.number(), list.get());
    EXPECT_TRUE(result == ORV_OK || result == ORV_E_SHARE_SYNTAX) << result;
  }
}

TEST_F(share_lines, are_not_written_to_a_file_that_takes_none) {
  share_list list;
  list.add(a_share("a"));
  const share_reader writers[] = {put_share_to_conf, put_share_to_smb,      put_share_to_smb_recy,
                                  put_share_to_nfs,  put_share_to_nfs_recy, put_share_to_ietd};
  machine.file("/f", "[a]\nold\n[b]\n");
  const open_file file("/f", O_RDONLY);
  for (const share_reader writer : writers) {
    EXPECT_EQ(writer(file.number(), list.get()), ORV_E_SHARE_WRITE);
    EXPECT_EQ(writer(file.number(), nullptr), ORV_E_FAILED);
  }
  EXPECT_EQ(machine.read("/f"), "[a]\nold\n[b]\n");
  EXPECT_FALSE(machine.exists("/var/lib/orv"));
}

TEST_F(share_lines, stay_as_far_as_written_and_uncommitted_on_a_full_disk) {
  struct full_file {
    share_reader writer;
    const char* path;
    std::string committed;
    std::string kept;
    std::string text;
  };
  const std::string target = "Target iqn.2006-05.org.orv:v.1\n";
  const full_file files[] = {
      {put_share_to_conf, shares_path, shares_path, "", listed("v.1")},
      {put_share_to_smb, smb_path, smb_path, global, offered("v.1")},
      {put_share_to_smb_recy, smb_recy_path, smb_recy_path, "", parked("v.1")},
      {put_share_to_nfs, exports_path, exports_path, "", exported("v.1")},
      {put_share_to_nfs_recy, exports_recy_path, "/etc/exports_recy.conf", "", exported("v.1")},
      {put_share_to_ietd, ietd_path, ietd_path, "", target}};
  share_list list;
  list.add(a_share("v.1"));
  machine.file("/etc/exports_recy.conf", "other\n");
  for (const full_file& each : files) {
    machine.file(each.path, each.kept + "[old text]\n" + std::string(100, '#') + '\n');
    const open_file file(each.path);
    const file_size_limit full(each.kept.size() + 20);
    EXPECT_EQ(each.writer(file.number(), list.get()), ORV_E_SHARE_WRITE) << each.path;
    EXPECT_EQ(machine.read(each.path), each.kept + each.text.substr(0, 20));
    EXPECT_FALSE(was_committed(each.committed)) << each.committed;
  }
}
