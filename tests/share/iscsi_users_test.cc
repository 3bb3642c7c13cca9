#include "tests/share/discovery.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

std::string target(const std::string& name, const sandbox::lines& users) {
  std::string text = "Target iqn.2006-05.org.orv:" + name + "\n";
  for (const std::string& user : users) text += "\tIncomingUser " + user + " secret\n";
  return text + "\tLun 0 Path=/v,Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n";
}

class iscsi_users : public discovery_test {
 protected:
  iscsi_users() { machine.tool("cat").is_real(); }

  sandbox::lines with(const std::string& text) {
    machine.file(ietd_path, text);
    return after(get_shareinfo_from_ietd);
  }

  /// The users of a share "disk" after this configuration.
  std::string users_of_disk(const std::string& text) {
    machine.file(ietd_path, text);
    share_list one;
    tag_share_config share = a_share("disk", "iscsi");
    share.valid_users[0] = '\0';
    one.add(share);
    EXPECT_EQ(get_shareinfo_from_ietd(one.get()), ORV_OK);
    return one.only().valid_users;
  }
};

TEST_F(iscsi_users, of_each_target_go_to_the_share_of_its_name) {
  add("disk", "iscsi", "/v");
  add("photos", "samba");
  add("volume", "", "/w").writable = 0;
  EXPECT_THAT(
      with(target("disk.20240131235959", {"ann", "bob"}) + target("volume.1", {"eve"})),
      ElementsAre("disk||/v|iSCSI|ann,bob|rw", "photos|||samba||rw", "volume||/w|iSCSI|eve|ro"));
  EXPECT_THAT(machine.commands(), ElementsAre("cat /etc/ietd.conf > /tmp/iscsi.XXXXXX"));
  EXPECT_EQ(machine.output(), "");
}

TEST_F(iscsi_users, may_be_none_and_the_share_is_an_iscsi_volume_all_the_same) {
  add("disk", "");
  EXPECT_THAT(with(target("disk.1", {})), ElementsAre("disk|||iSCSI||rw"));
}

TEST_F(iscsi_users, go_to_the_last_share_of_a_name) {
  add("disk", "iscsi");
  add("disk", "samba");
  EXPECT_THAT(with(target("disk", {"ann"})),
              ElementsAre("disk|||iscsi||rw", "disk|||iSCSI|ann|rw"));
}

TEST_F(iscsi_users, of_a_target_that_is_no_listed_share_go_to_nobody) {
  add("", "samba");
  add("disk", "iscsi");
  for (const char* name : {"other", "Disk", "disk2", "", ".1"}) {
    EXPECT_THAT(with(target(name, {"ann"})), ElementsAre("|||samba||rw", "disk|||iscsi||rw"))
        << name;
  }
  EXPECT_THAT(with("Target\n\tIncomingUser ann x\nTarget disk\n\tIncomingUser ann x\n"),
              ElementsAre("|||samba||rw", "disk|||iscsi||rw"));
}

TEST_F(iscsi_users, end_with_the_next_target_also_when_that_is_passed_over) {
  EXPECT_EQ(users_of_disk(target("disk", {"ann"}) + target("other", {"bob"})), "ann");
  EXPECT_EQ(users_of_disk(target("disk", {"ann"}) + "Target\n\tIncomingUser bob x\n"), "ann");
}

TEST_F(iscsi_users, before_any_target_are_nobodys) {
  EXPECT_EQ(users_of_disk("IncomingUser bob x\n" + target("disk", {"ann"})), "ann");
}

TEST_F(iscsi_users, follow_those_that_the_share_has_already) {
  EXPECT_EQ(users_of_disk(target("disk.1", {"ann"}) + target("disk.2", {"bob"})), "ann,bob");
}

TEST_F(iscsi_users, of_a_target_are_known_by_the_second_field_between_colons) {
  EXPECT_EQ(users_of_disk("Target iqn.x:disk:more.1\n\tIncomingUser ann x\n"), "ann");
  EXPECT_EQ(users_of_disk("Target iqn.x:more:disk\n\tIncomingUser ann x\n"), "");
  EXPECT_EQ(users_of_disk("Target iqn.x::disk\n\tIncomingUser ann x\n"), "ann");
  EXPECT_EQ(users_of_disk("  Target\tiqn.x:disk \r\n\tIncomingUser ann x\n"), "ann");
}

TEST_F(iscsi_users, stand_behind_exactly_their_key) {
  for (const char* line : {"IncomingUsers ann x", "incominguser ann x", "OutgoingUser ann x",
                           "#IncomingUser ann x", "x IncomingUser ann", "IncomingUser", ""}) {
    EXPECT_EQ(users_of_disk("Target i:disk\n\t" + std::string(line) + '\n'), "") << line;
  }
  EXPECT_EQ(users_of_disk("Target i:disk\nTargets i:other\n\tIncomingUser\t ann\tx\n"), "ann");
  EXPECT_EQ(users_of_disk("Target i:disk\n  IncomingUser ann"), "ann");
}

TEST_F(iscsi_users, that_do_not_fit_the_field_whole_are_left_out) {
  EXPECT_EQ(users_of_disk(target("disk", {std::string(200, 'u'), std::string(55, 'v'), "ann"})),
            std::string(200, 'u') + ",ann");
  EXPECT_EQ(users_of_disk(target("disk", {std::string(200, 'u'), std::string(54, 'v'), "ann"})),
            std::string(200, 'u') + ',' + std::string(54, 'v'));
}

TEST_F(iscsi_users, of_a_written_file_are_found) {
  share_list written;
  tag_share_config share = a_share("disk", "iscsi");
  set_field(share.valid_users, "ann, bob");
  written.add(share);
  {
    const open_file file(ietd_path);
    ASSERT_EQ(put_share_to_ietd(file.number(), written.get()), ORV_OK);
  }
  EXPECT_EQ(users_of_disk(machine.read(ietd_path)), "ann,bob");
}

TEST_F(iscsi_users, survive_what_is_no_text) {
  std::string bytes;
  for (int i = 0; i < 4096; ++i) bytes += static_cast<char>(i * 7);
  EXPECT_EQ(users_of_disk(bytes + '\n' + std::string(100000, ':') + '\n' + target("disk", {"ann"})),
            "ann");
  EXPECT_EQ(users_of_disk(""), "");
}

TEST_F(iscsi_users, refuse_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_ietd, "get_shareinfo_from_ietd");
}

class unreadable_targets : public discovery_test {};

TEST_F(unreadable_targets, are_reported_also_when_there_is_no_such_file) {
  machine.tool("cat").is_real();
  EXPECT_EQ(get_shareinfo_from_ietd(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(machine.log(), StartsWith("system(\"cat /etc/ietd.conf > /tmp/iscsi.XXXXXX\") "
                                        "return normal with exit(1) for '"));
}

TEST_F(unreadable_targets, are_reported_when_the_tool_fails) {
  add("disk", "iscsi");
  machine.tool("cat").prints(target("disk", {"ann"})).fails(3);
  EXPECT_EQ(get_shareinfo_from_ietd(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(list.told(), ElementsAre("disk|||iscsi||rw"));
}

TEST_F(unreadable_targets, are_reported_when_the_shell_is_killed) {
  add("disk", "iscsi");
  machine.remove("/bin/sh");
  machine.file("/bin/sh", "#!/.sandbox/bin/bash\nkill -9 $$\n", 0755);
  machine.file(ietd_path, target("disk", {"ann"}));
  EXPECT_EQ(get_shareinfo_from_ietd(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(list.told(), ElementsAre("disk|||iscsi||rw"));
  EXPECT_EQ(machine.log_lines().size(), 1U);
  EXPECT_THAT(machine.log(), StartsWith("system(\"cat /etc/ietd.conf > /tmp/iscsi.XXXXXX\") "
                                        "return unnormal with exit(0) for '"));
}

TEST_F(unreadable_targets, are_reported_without_a_temporary_file) {
  machine.fail("mkstemp", EMFILE);
  EXPECT_EQ(get_shareinfo_from_ietd(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(unreadable_targets, are_reported_when_the_copy_cannot_be_read) {
  machine.tool("cat").prints("Target iqn.2006-05.org.orv:a\n");
  machine.fail("fread", EIO);
  EXPECT_EQ(get_shareinfo_from_ietd(list.get()), ORV_E_IETD);
}

TEST_F(unreadable_targets, are_reported_when_the_copy_cannot_be_opened) {
  machine.tool("cat").runs("rm -f /tmp/iscsi.*");
  EXPECT_EQ(get_shareinfo_from_ietd(list.get()), ORV_E_IETD);
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "get_shareinfo_from_ietd:705 return 0 with No such file or directory\n");
}

}  // namespace
