#include <orv/system.h>

#include <cerrno>

#include "tests/sandbox/bend.h"
#include "tests/system/getter.h"

using testing::ElementsAre;
using testing::IsEmpty;

class power : public system_test {
 protected:
  void tool_prints(const std::string& output) {
    machine.tool("/usr/local/bin/pwstate").prints(output);
  }
};

TEST_F(power, of_the_zor_family_comes_from_its_state_file) {
  model("ZOR7130G");
  zor_state("power=normal\n");
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, "normal"}));
}

TEST_F(power, of_three_models_comes_from_the_other_state_file) {
  kta_state("power=one failed\n");
  for (const char* name : {"KTA7120X", "KTA7130X", "KTA7120U"}) {
    model(name);
    EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, "one failed"})) << name;
  }
}

TEST_F(power, missing_in_the_state_file_is_reported) {
  for (const char* name : {"ZOR7130G", "KTA7120X"}) {
    model(name);
    EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1002, "before"})) << name;
  }
  EXPECT_EQ(machine.log(),
            "pwstate_get:N return -1002 with No such file or directory\n"
            "pwstate_get:N return -1002 with No such file or directory\n");
  EXPECT_EQ(pwstate_get(nullptr, 8), -1002);
}

TEST_F(power, missing_in_a_state_file_that_is_there_is_reported_too) {
  zor_state("temp=40\n");
  kta_state("temp=40\n");
  for (const char* name : {"ZOR7130G", "KTA7120X"}) {
    model(name);
    errno = 0;  // which the log shows
    EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1002, "before"})) << name;
  }
  EXPECT_EQ(machine.log(),
            "pwstate_get:N return -1002 with Success\n"
            "pwstate_get:N return -1002 with Success\n");
}

TEST_F(power, of_two_models_is_asked_of_the_tool) {
  tool_prints("power state:  normal\nmore: text\n");
  for (const char* name : {"KTA7120E", "KTA7120P"}) {
    model(name);
    EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, "normal"})) << name;
  }
  EXPECT_THAT(machine.commands(), ElementsAre("/usr/local/bin/pwstate > /tmp/pwstat.XXXXXX",
                                              "/usr/local/bin/pwstate > /tmp/pwstat.XXXXXX"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(power, is_the_text_behind_the_last_colon) {
  model("KTA7120E");
  tool_prints("unit 2: power:\t failed \n");
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, "failed "}));
}

TEST_F(power, is_the_whole_line_without_a_colon) {
  model("KTA7120E");
  tool_prints("  normal \n");
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, "normal"}));
}

TEST_F(power, line_of_the_tool_is_seen_up_to_31_characters) {
  model("KTA7120E");
  tool_prints("state: 0123456789012345678901234567890123456789\n");
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, "012345678901234567890123"}));
}

TEST_F(power, tool_that_fails_is_logged_and_leaves_nothing_behind) {
  model("KTA7120E");
  machine.tool("/usr/local/bin/pwstate").fails(3);
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-11000, "before"}));
  EXPECT_THAT(machine.log(),
              testing::StartsWith("system(\"/usr/local/bin/pwstate > /tmp/pwstat.XXXXXX\") return "
                                  "normal with exit(3) for '"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(power, tool_that_prints_nothing_is_reported_and_its_file_stays) {
  model("KTA7120E");
  machine.tool("/usr/local/bin/pwstate").succeeds();
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1003, "before"}));
  EXPECT_THAT(machine.log(), testing::StartsWith("pwstate_get:N return -1003 with "));
  EXPECT_THAT(machine.temp_files(), ElementsAre("pwstat.XXXXXX"));
}

TEST_F(power, output_that_cannot_be_opened_or_examined_is_reported_and_its_file_stays) {
  model("KTA7120P");
  tool_prints("power state:  normal\n");
  machine.fail("fopen", EMFILE, 2);  // the first file holds the model
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1003, "before"}));
  EXPECT_EQ(machine.log(), "pwstate_get:N return -1003 with Too many open files\n");
  EXPECT_THAT(machine.temp_files(), ElementsAre("pwstat.XXXXXX"));
  machine.fail("fopen", EMFILE, 1000);
  machine.fail("stat", EIO);
  machine.forget();
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1003, "before"}));
  EXPECT_EQ(machine.log(), "pwstate_get:N return -1003 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), ElementsAre("pwstat.XXXXXX", "pwstat.XXXXXX"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(power, output_that_could_not_be_changed_counts_as_unreadable) {
  model("KTA7120E");
  machine.mount_tmpfs("/tmp");
  tool_prints("power state:  normal\n");
  sandbox::before("stat", [this] { machine.remount_read_only("/tmp"); });
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1003, "before"}));
  EXPECT_EQ(machine.log(), "pwstate_get:N return -1003 with Read-only file system\n");
  EXPECT_THAT(machine.temp_files(), ElementsAre("pwstat.XXXXXX"));
}

TEST_F(power, tool_is_not_run_without_a_temporary_file) {
  model("KTA7120E");
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-11000, "before"}));
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log(),
            "system(\"/usr/local/bin/pwstate > /tmp/pwstat.XXXXXX\") return normal with exit(127) "
            "for 'No space left on device'\n");
}

TEST_F(power, tool_may_print_anything) {
  model("KTA7120E");
  const std::pair<std::string, std::string> outputs[] = {
      {std::string("\0\xff:x\n", 5), ""},
      {"state:", ""},
      {":::\n", ""},
      {std::string(100000, 'x'), std::string(31, 'x')},
      {"\nstate: normal\n", ""}};
  for (const auto& [printed, state] : outputs) {
    tool_prints(printed);
    EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, state})) << printed.substr(0, 20);
  }
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(power, output_that_is_gone_is_reported) {
  model("KTA7120E");
  machine.tool("/usr/local/bin/pwstate").runs("rm -f /tmp/pwstat.*");
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1003, "before"}));
  EXPECT_EQ(machine.log(), "pwstate_get:N return -1003 with No such file or directory\n");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(power, of_any_other_model_leaves_the_buffer) {
  for (const char* name : {"KTA7120A", "KTA7120", "KTA7120EE", "unknown"}) {
    model(name);
    EXPECT_EQ(ask(pwstate_get), (answer_of_getter{ORV_OK, "before"})) << name;
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(power, needs_the_device_model) {
  EXPECT_EQ(ask(pwstate_get), (answer_of_getter{-1001, "before"}));
  EXPECT_EQ(machine.log(),
            "devmodel_get:N return -1001 with No such file or directory\n"
            "pwstate_get:N return -1001 with No such file or directory\n");
}
