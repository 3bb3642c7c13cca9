#include <cerrno>

#include "tests/disk/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

class hotspare_list : public disk_test {
 protected:
  hotspare_list() {
    for (const char* name : {"sda", "sdb", "sdaa", "sdaab", ""}) add(name, 1, "0");
  }

  /// The disks that are hot spares when the tool says so.
  sandbox::lines spares(const std::string& output) {
    machine.tool("/usr/local/bin/hotspare").on("--list").prints(output).if_asked();
    for (tag_disk_info* disk : disks()) disk->hotspare = 0;
    EXPECT_EQ(get_global_hotspare(&list), ORV_OK);
    return marked();
  }

  sandbox::lines marked() {
    sandbox::lines names;
    for (const tag_disk_info* disk : disks()) {
      if (disk->hotspare != 0) names.emplace_back(disk->name);
    }
    return names;
  }
};

TEST_F(hotspare_list, marks_the_disks_that_the_tool_names) {
  EXPECT_THAT(spares("Hot spares\nGlobal hotspare disk: sdb sdaa\nother: sda\n"),
              ElementsAre("sdb", "sdaa"));
  EXPECT_THAT(machine.commands(),
              ElementsAre("/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(hotspare_list, marks_none_when_the_tool_names_none) {
  EXPECT_THAT(spares("Global hotspare disk:\n"), IsEmpty());
}

TEST_F(hotspare_list, leaves_the_mark_of_other_disks) {
  disks()[0]->hotspare = 1;
  machine.tool("/usr/local/bin/hotspare").prints("Global hotspare disk: sdb\n");
  EXPECT_EQ(get_global_hotspare(&list), ORV_OK);
  EXPECT_EQ(disks()[0]->hotspare, 1);
  EXPECT_EQ(disks()[1]->hotspare, 1);
}

TEST_F(hotspare_list, names_begin_with_the_fourth_word) {
  EXPECT_THAT(spares("  Global hotspare disk  :   sda  sdb \r\n"), ElementsAre("sda", "sdb"));
}

TEST_F(hotspare_list, words_behind_the_third_are_the_names_even_with_a_tight_colon) {
  EXPECT_THAT(spares("Global hotspare disk:sda sdb\n"), ElementsAre("sdb"));
}

TEST_F(hotspare_list, names_match_as_a_whole_and_up_to_five_characters) {
  EXPECT_THAT(spares("Global hotspare disk: sd sdaabc sda1\n"), ElementsAre("sdaab"));
}

TEST_F(hotspare_list, sees_sixteen_names) {
  EXPECT_THAT(spares("Global hotspare disk: a b c d e f g h i j k l m n sda sdb sdaa\n"),
              ElementsAre("sda", "sdb"));
}

TEST_F(hotspare_list, sees_eighty_characters_of_the_line) {
  const std::string line = "Global hotspare disk: " + std::string(51, 'x') + " sda";
  EXPECT_THAT(spares(line + " sdb\n"), ElementsAre("sda"));
}

TEST_F(hotspare_list, survives_lines_of_any_length) {
  EXPECT_THAT(spares(std::string(100'000, 'y') + "\nGlobal hotspare disk: sda" +
                     std::string(100'000, ' ') + "sdb"),
              ElementsAre("sda"));
}

TEST_F(hotspare_list, tool_that_fails_is_logged) {
  machine.tool("/usr/local/bin/hotspare").prints("Global hotspare disk: sda\n").fails(2);
  errno = 0;
  EXPECT_EQ(get_global_hotspare(&list), -11000);
  EXPECT_EQ(machine.log(),
            "system(\"/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX\") return normal with "
            "exit(2) for 'Success'\n");
  EXPECT_THAT(marked(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(hotspare_list, tool_that_is_killed_is_logged) {
  machine.tool("/usr/local/bin/hotspare").dies_of(SIGKILL);
  EXPECT_EQ(get_global_hotspare(&list), -11000);
  EXPECT_THAT(machine.log(), testing::HasSubstr("return normal with exit(137) for '"));
}

TEST_F(hotspare_list, tool_whose_shell_a_signal_ended_is_logged) {
  shell_is_killed();
  errno = 0;
  EXPECT_EQ(get_global_hotspare(&list), -11000);
  EXPECT_EQ(
      machine.log(),
      "system(\"/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX\") return unnormal with "
      "exit(0) for 'Success'\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(hotspare_list, that_cannot_be_opened_is_reported) {
  machine.tool("/usr/local/bin/hotspare").runs("rm -f /tmp/hotspare.*");
  EXPECT_EQ(get_global_hotspare(&list), -1023);
  EXPECT_EQ(machine.log(), "get_global_hotspare:N return -1023 with No such file or directory\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(hotspare_list, that_cannot_be_examined_is_reported) {
  machine.tool("/usr/local/bin/hotspare").succeeds();
  machine.fail("fstat", EIO);
  EXPECT_EQ(get_global_hotspare(&list), -1023);
  EXPECT_EQ(machine.log(), "get_global_hotspare:N return -1023 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(hotspare_list, without_the_line_of_the_spares_is_reported) {
  machine.tool("/usr/local/bin/hotspare").prints("Global hotspare disks: sda\nGlobal\nsdb sdaa\n");
  errno = 0;
  EXPECT_EQ(get_global_hotspare(&list), -1024);
  EXPECT_EQ(machine.log(), "get_global_hotspare:N return -1024 with Success\n");
  EXPECT_THAT(marked(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(hotspare_list, of_a_missing_list_is_not_asked) {
  EXPECT_EQ(get_global_hotspare(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}
