#include <orv/lvm.h>
#include <orv/raid.h>

#include <cstring>
#include <string>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class command_line : public sandbox_test {
 protected:
  sandbox::fake_tool& umount() { return machine.tool("umount"); }
  sandbox::fake_tool& diskformat() { return machine.tool("/usr/local/bin/diskformat"); }

  void expect_not_run(const std::string& command, const std::string& reason) {
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.log_lines(),
                ElementsAre("system(\"" + command + "\") return normal with exit(127) for '" +
                            reason + "'"));
    machine.forget();
  }
};

TEST_F(command_line, of_plain_words_is_the_documented_text) {
  machine.tool("/sbin/lvcreate").on_exactly({"-L", "10G", "-n", "data_1.x-y", "vg+1"});
  EXPECT_EQ(create_pool("data_1.x-y", "vg+1", 10), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/sbin/lvcreate -L 10G -n data_1.x-y vg+1 > /dev/null"));
}

TEST_F(command_line, inserts_every_plain_character_as_it_is) {
  const std::string plain = "/az/AZ/09_-.,:+@%=";
  umount().on_exactly({plain});
  EXPECT_EQ(umount_fs(plain.c_str()), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("umount " + plain + " > /dev/null"));
}

TEST_F(command_line, prints_numbers_of_64_bits) {
  machine.tool("/sbin/lvextend").on_exactly({"-L", "9223372036854775807G", "/dev/vg1/data"});
  EXPECT_EQ(extend_pool("data", "vg1", 9223372036854775807U), ORV_OK);
}

class hostile_value : public command_line, public testing::WithParamInterface<const char*> {};

TEST_P(hostile_value, reaches_the_tool_verbatim_as_one_word) {
  umount().on_exactly({GetParam()});
  EXPECT_EQ(umount_fs(GetParam()), ORV_OK);
  EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("umount", GetParam())));
  EXPECT_EQ(machine.output(), "");
}

TEST_P(hostile_value, reaches_the_tool_as_part_of_a_word) {
  const std::string path = std::string("/dev/") + GetParam();
  diskformat().on_exactly({path});
  EXPECT_EQ(clear_disk(GetParam()), 0);
  EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("/usr/local/bin/diskformat", path)));
}

INSTANTIATE_TEST_SUITE_P(with, hostile_value,
                         testing::Values("/mnt/my disk", "a'b", "''", "a\"b", "$(reboot)",
                                         "`reboot`", "a;reboot", "a|b&c", "> /etc/passwd", "*",
                                         "?[a]{b,c}", "~", "a\nreboot\n", "a\tb", " ", "\\",
                                         "a\\'b", "!", "#", "\x01\x7f\xff", "$HOME", "%s%n", "(a)",
                                         "<a"));

TEST_F(command_line, quotes_only_what_needs_it) {
  machine.tool("mount").succeeds();
  machine.tool("chmod").succeeds();
  EXPECT_EQ(mount_fs("/mnt/it's", "vg1", "my pool"), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("mount -t xfs -o inode64 /dev/vg1/'my pool' '/mnt/it'\\''s' > /dev/null",
                          "chmod 0777 '/mnt/it'\\''s' > /dev/null"));
  EXPECT_THAT(machine.calls()[0],
              ElementsAre("mount", "-t", "xfs", "-o", "inode64", "/dev/vg1/my pool", "/mnt/it's"));
}

TEST_F(command_line, is_not_run_with_a_value_that_reads_as_an_option) {
  EXPECT_EQ(umount_fs("-a"), ORV_E_COMMAND);
  expect_not_run("umount -a > /dev/null", "Invalid argument");
  EXPECT_EQ(umount_fs("- x"), ORV_E_COMMAND);
  expect_not_run("umount - x > /dev/null", "Invalid argument");
}

TEST_F(command_line, may_have_a_dash_inside_a_word) {
  diskformat().on("/dev/-x");
  EXPECT_EQ(clear_disk("-x"), 0);
}

TEST_F(command_line, is_not_run_with_an_empty_value) {
  EXPECT_EQ(umount_fs(""), ORV_E_COMMAND);
  expect_not_run("umount  > /dev/null", "Invalid argument");
  EXPECT_EQ(umount_fs(nullptr), ORV_E_COMMAND);
  expect_not_run("umount  > /dev/null", "Invalid argument");
  EXPECT_NE(clear_disk(""), 0);
  expect_not_run("/usr/local/bin/diskformat /dev/", "Invalid argument");
}

TEST_F(command_line, never_leaves_the_folder_that_a_value_stands_behind) {
  for (const char* name : {".", "..", "../sda", "vg1/..", "vg1/../../etc/shadow", "./sda"}) {
    EXPECT_NE(clear_disk(name), 0) << name;
    expect_not_run("/usr/local/bin/diskformat /dev/" + std::string(name), "Invalid argument");
  }
}

TEST_F(command_line, may_name_what_lies_deeper_in_a_folder_and_have_dots_in_a_name) {
  diskformat().on("/dev/mapper/vg1-data");
  EXPECT_EQ(clear_disk("mapper/vg1-data"), 0);
  diskformat().on("/dev/a..b.");
  EXPECT_EQ(clear_disk("a..b."), 0);
  umount().on_exactly({"/mnt/../data"});
  EXPECT_EQ(umount_fs("/mnt/../data"), ORV_OK);
}

TEST_F(command_line, of_255_characters_is_run) {
  const std::string path = '/' + std::string(255 - std::strlen("umount / > /dev/null"), 'm');
  umount().on_exactly({path});
  EXPECT_EQ(umount_fs(path.c_str()), ORV_OK);
  ASSERT_EQ(machine.commands().size(), 1U);
  EXPECT_EQ(machine.commands()[0].size(), 255U);
}

TEST_F(command_line, of_256_characters_is_not_run) {
  const std::string path = '/' + std::string(256 - std::strlen("umount / > /dev/null"), 'm');
  EXPECT_EQ(umount_fs(path.c_str()), ORV_E_COMMAND);
  expect_not_run("umount " + path + " > /dev/null", "File name too long");
}

TEST_F(command_line, that_quoting_makes_too_long_is_not_run) {
  const std::string quotes(100, '\'');
  EXPECT_EQ(umount_fs(quotes.c_str()), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.log(), testing::HasSubstr("exit(127) for 'File name too long'"));
}

TEST_F(command_line, of_a_hundred_thousand_characters_is_not_run) {
  EXPECT_EQ(umount_fs(std::string(100000, 'm').c_str()), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(command_line, of_several_words_quotes_each_of_them) {
  tag_md_info md;
  md_conf_init(&md);
  std::strcpy(md.name, "md1");
  std::strcpy(md.level, "raid0");
  std::strcpy(md.disks, "sda,s b,$(c)");
  machine.tool("/sbin/mdadm").succeeds();
  EXPECT_EQ(reset_raid(&md), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm -C /dev/md1 -l 0 -n 3 -R /dev/sda "
                                              "/dev/'s b' /dev/'$(c)' > /dev/null"));
  EXPECT_THAT(machine.calls(),
              ElementsAre(ElementsAre("/sbin/mdadm", "-C", "/dev/md1", "-l", "0", "-n", "3", "-R",
                                      "/dev/sda", "/dev/s b", "/dev/$(c)")));
}

TEST_F(command_line, runs_in_the_c_locale_without_input_and_inherited_descriptors) {
  umount().on("/mnt/data");
  EXPECT_EQ(umount_fs("/mnt/data"), ORV_OK);
  const auto call = machine.call_records().at(0);
  EXPECT_EQ(call.input, "/dev/null");
  EXPECT_THAT(call.descriptors, IsEmpty());
  EXPECT_EQ(call.environment.at("LC_ALL"), "C");
}

}  // namespace
