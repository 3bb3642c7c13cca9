#include <orv.h>

#include <cerrno>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char spare_line[] = "Global hotspare disk: sda\n";
constexpr char list_command[] = "/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX";

class captured_output_of_a_tool : public sandbox_test {
 protected:
  captured_output_of_a_tool() { disk_list_init(&disks_); }
  ~captured_output_of_a_tool() override { disk_list_fini(&disks_); }
  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  sandbox::answer& hotspare() { return machine.tool("/usr/local/bin/hotspare").on("--list"); }
  int ask() { return get_global_hotspare(&disks_); }

 private:
  tag_diskinfo_list disks_;
};

TEST_F(captured_output_of_a_tool, goes_through_a_file_that_is_gone_afterwards) {
  hotspare().prints(spare_line);
  EXPECT_EQ(ask(), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre(list_command));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(captured_output_of_a_tool, has_a_file_of_its_own_that_nobody_else_can_read) {
  hotspare().runs("stat -c %a /tmp/hotspare.* > /var/lib/mode; echo Global hotspare disk:");
  EXPECT_EQ(ask(), ORV_OK);
  EXPECT_EQ(machine.read("/var/lib/mode"), "600\n");
}

TEST_F(captured_output_of_a_tool, is_gone_when_the_tool_failed) {
  hotspare().prints(spare_line).fails(2);
  EXPECT_EQ(ask(), ORV_E_COMMAND);
  EXPECT_EQ(machine.log_lines().size(), 1U);
}

TEST_F(captured_output_of_a_tool, is_gone_when_it_cannot_be_opened) {
  hotspare().prints(spare_line);
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(ask(), ORV_E_SPARE_LIST);
  EXPECT_EQ(machine.log(), "get_global_hotspare:N return -1023 with Too many open files\n");
}

TEST_F(captured_output_of_a_tool, is_gone_when_it_cannot_be_examined) {
  hotspare().prints(spare_line);
  machine.fail("fstat", EIO);
  EXPECT_EQ(ask(), ORV_E_SPARE_LIST);
  EXPECT_EQ(machine.log(), "get_global_hotspare:N return -1023 with Input/output error\n");
}

TEST_F(captured_output_of_a_tool, is_gone_when_it_makes_no_sense) {
  hotspare().prints(std::string("\0\xff\n\n\r", 5) + std::string(100000, 'x'));
  EXPECT_EQ(ask(), ORV_E_SPARE_LINE);
}

TEST_F(captured_output_of_a_tool, needs_its_file_before_anything_is_run) {
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(ask(), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log(), std::string("system(\"") + list_command +
                               "\") return normal with exit(127) for 'No space left on device'\n");
}

TEST_F(captured_output_of_a_tool, is_not_taken_from_what_the_template_names) {
  machine.file("/tmp/lvdisplay.XXXXXX", "  /dev/vg1/false:vg1:3:1:-1:1:20971520:1\n");
  machine.fail("mkstemp", EACCES);
  tag_poolinfo_list pools;
  pool_list_init(&pools);
  EXPECT_EQ(pool_get(&pools), ORV_E_LVDISPLAY);
  EXPECT_EQ(pools.list.next, &pools.list);
  EXPECT_THAT(machine.commands(), IsEmpty());
  machine.remove("/tmp/lvdisplay.XXXXXX");
}

TEST_F(captured_output_of_a_tool, follows_no_link_and_uses_no_file_that_was_there) {
  machine.file("/etc/precious", "kept");
  machine.link("/tmp/hotspare.XXXXXX", "/etc/precious");
  hotspare().prints(spare_line);
  EXPECT_EQ(ask(), ORV_OK);
  EXPECT_EQ(machine.read("/etc/precious"), "kept");
  machine.remove("/tmp/hotspare.XXXXXX");
}

}  // namespace
