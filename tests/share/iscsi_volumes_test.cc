#include "tests/share/discovery.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr char volume_path[] = "/proc/net/iet/volume";

/// What the kernel says of a target with one unit.
std::string volume(const std::string& name, const std::string& path) {
  return "tid:1 name:iqn.2006-05.org.orv:" + name +
         "\n\tlun:0 state:0 iotype:fileio iomode:wb path:" + path + "\n";
}

class iscsi_volumes : public discovery_test {
 protected:
  iscsi_volumes() { machine.tool("cat").is_real(); }

  sandbox::lines with(const std::string& text) {
    machine.file(volume_path, text);
    return after(get_shareinfo_from_iSCSI);
  }

  /// What an empty list holds afterwards.
  sandbox::lines alone(const std::string& text) {
    machine.file(volume_path, text);
    share_list found;
    EXPECT_EQ(get_shareinfo_from_iSCSI(found.get()), ORV_OK) << text;
    return found.told();
  }
};

TEST_F(iscsi_volumes, give_listed_shares_their_path) {
  tag_share_config& disk = add("disk", "iscsi", "/old");
  disk.writable = 0;
  disk.used = 12;
  disk.size = 7;
  add("photos", "samba", "/mnt/photos").used = 12;
  EXPECT_THAT(with(volume("disk.20240131235959", "/mnt/pool/disk")),
              ElementsAre("disk||/mnt/pool/disk|iSCSI||rw", "photos||/mnt/photos|samba||rw"));
  EXPECT_EQ(list.records()[0]->used, 0U);
  EXPECT_EQ(list.records()[0]->size, 7U);
  EXPECT_EQ(list.records()[1]->used, 12U);
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/net/iet/volume > /tmp/iscsi.XXXXXX"));
  EXPECT_EQ(machine.output(), "");
}

TEST_F(iscsi_volumes, that_are_not_listed_are_added) {
  add("photos", "samba");
  EXPECT_THAT(with(volume("b.1", "/b") + volume("a.1", "/a")),
              ElementsAre("photos|||samba||rw", "b||/b|iSCSI||rw", "a||/a|iSCSI||rw"));
  EXPECT_STREQ(list.records()[2]->status, "N.A.");
}

TEST_F(iscsi_volumes, of_one_name_are_one_share) {
  EXPECT_THAT(alone(volume("a.1", "/a1") + volume("a.2", "/a2")), ElementsAre("a||/a2|iSCSI||rw"));
}

TEST_F(iscsi_volumes, change_the_first_share_of_their_name_whatever_its_service) {
  add("disk", "samba", "/s");
  add("disk", "iscsi", "/i");
  EXPECT_THAT(with(volume("disk", "/v")), ElementsAre("disk||/v|iSCSI||rw", "disk||/i|iscsi||rw"));
}

TEST_F(iscsi_volumes, are_called_by_what_stands_between_the_last_colon_and_the_next_dot) {
  EXPECT_THAT(alone("tid:1 name:disk\n"), ElementsAre("disk|||iSCSI||rw"));
  EXPECT_THAT(alone("tid:1 name:iqn.x:a:b.c.d\n"), ElementsAre("b|||iSCSI||rw"));
  EXPECT_THAT(alone("  tid:12   name:iqn.x:my_disk.1 \r\n"), ElementsAre("my_disk|||iSCSI||rw"));
  EXPECT_THAT(alone("tid:1 name:iqn.x:" + std::string(40, 'n') + ".1\n"),
              ElementsAre(std::string(32, 'n') + "|||iSCSI||rw"));
}

TEST_F(iscsi_volumes, are_called_by_the_second_field_of_their_line_only) {
  EXPECT_THAT(alone("tid:1 name:iqn.x:disk.2024 state:1\n"), ElementsAre("disk|||iSCSI||rw"));
  EXPECT_THAT(alone("tid:1 name:iqn.x:disk state:1.2\n"), ElementsAre("disk|||iSCSI||rw"));
  EXPECT_THAT(alone("tid:1 name:iqn.x:my disk.1\n"), ElementsAre("my|||iSCSI||rw"));
}

TEST_F(iscsi_volumes, without_a_name_are_passed_over_with_their_units) {
  add("", "samba");
  const std::string unit = "\tlun:0 state:0 iotype:fileio iomode:wb path:/none\n";
  for (const char* target : {"tid:1", "tid:1 ", "tid:", "tid:1 name", "tid:1 name:",
                             "tid:1 name:iqn:", "tid:1 name:iqn:.2024", "tid", "tid:1name:iqn:x"}) {
    EXPECT_THAT(with(target + ('\n' + unit)), ElementsAre("|||samba||rw")) << target;
  }
  EXPECT_THAT(with(volume("a", "/a") + "tid:2\n" + unit + volume("b", "/b")),
              ElementsAre("|||samba||rw", "a||/a|iSCSI||rw", "b||/b|iSCSI||rw"));
}

TEST_F(iscsi_volumes, with_several_units_have_the_path_of_their_first) {
  EXPECT_THAT(alone(volume("a", "/a0") + "\tlun:1 state:0 iotype:fileio iomode:wb path:/a1\n" +
                    volume("b", "/b0")),
              ElementsAre("a||/a0|iSCSI||rw", "b||/b0|iSCSI||rw"));
}

TEST_F(iscsi_volumes, without_a_unit_keep_their_path_and_take_no_others) {
  add("a", "iscsi", "/old");
  EXPECT_THAT(with("tid:1 name:iqn:a\n" + volume("b", "/b")),
              ElementsAre("a||/old|iSCSI||rw", "b||/b|iSCSI||rw"));
}

TEST_F(iscsi_volumes, keep_their_path_when_a_unit_tells_none) {
  add("a", "iscsi", "/old");
  for (const char* unit :
       {"lun:0", "lun:0 state:0 iotype:fileio path:/a", "lun:0 1 2 3 /a",
        "lun:0 1 2 3 path:", "lun", "Lun:0 1 2 3 path:/a", "x lun:0 2 3 4 p:/a"}) {
    EXPECT_THAT(with("tid:1 name:iqn:a\n\t" + std::string(unit) + '\n'),
                ElementsAre("a||/old|iSCSI||rw"))
        << unit;
  }
}

TEST_F(iscsi_volumes, may_have_blanks_and_colons_in_their_path) {
  EXPECT_THAT(alone(volume("a", "/mnt/my disk:1")), ElementsAre("a||/mnt/my disk:1|iSCSI||rw"));
  EXPECT_THAT(alone(volume("a", '/' + std::string(190, 'p'))),
              ElementsAre("a||/" + std::string(126, 'p') + "|iSCSI||rw"));
}

TEST_F(iscsi_volumes, are_known_by_the_first_field_of_a_line) {
  EXPECT_THAT(alone("\tlun:0 1 2 3 path:/before\nstid:1 name:iqn:x\ntid\t:1 name:iqn:a\n"
                    "TID:1 name:iqn:y\n" +
                    std::string(1000, 't') + "tid:1 name:iqn:z\n"),
              ElementsAre("a|||iSCSI||rw"));
}

TEST_F(iscsi_volumes, survive_what_is_no_text) {
  std::string bytes;
  for (int i = 0; i < 4096; ++i) bytes += static_cast<char>(i * 7);
  EXPECT_THAT(alone(bytes + '\n' + volume("a", "/a")), ElementsAre("a||/a|iSCSI||rw"));
  EXPECT_THAT(alone(""), IsEmpty());
  EXPECT_THAT(alone("tid:1 name:iqn:cut"), ElementsAre("cut|||iSCSI||rw"));
}

TEST_F(iscsi_volumes, are_none_when_no_target_runs) {
  EXPECT_THAT(after(get_shareinfo_from_iSCSI), IsEmpty());
  EXPECT_THAT(machine.commands(), IsEmpty());
}

class unreadable_volumes : public discovery_test {
 protected:
  unreadable_volumes() { machine.file(volume_path, volume("a", "/a")); }
};

TEST_F(unreadable_volumes, are_reported_with_the_tools_exit_code) {
  machine.tool("cat").prints(volume("a", "/a")).fails(3);
  EXPECT_EQ(get_shareinfo_from_iSCSI(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(list.told(), IsEmpty());
  EXPECT_THAT(machine.log(), StartsWith("system(\"cat /proc/net/iet/volume > /tmp/iscsi.XXXXXX\") "
                                        "return normal with exit(3) for '"));
}

TEST_F(unreadable_volumes, are_reported_with_the_signal_that_ended_the_tool) {
  machine.tool("cat").dies_of(SIGKILL);
  EXPECT_EQ(get_shareinfo_from_iSCSI(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(machine.log(),
              testing::AnyOf(testing::HasSubstr("return unnormal with exit(0) for '"),
                             testing::HasSubstr("return normal with exit(137) for '")));
}

TEST_F(unreadable_volumes, are_reported_without_a_temporary_file) {
  machine.fail("mkstemp", EMFILE);
  EXPECT_EQ(get_shareinfo_from_iSCSI(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log_lines().size(), 1U);
}

TEST_F(unreadable_volumes, are_reported_when_the_copy_cannot_be_read) {
  machine.tool("cat").is_real();
  machine.fail("fread", EIO);
  EXPECT_EQ(get_shareinfo_from_iSCSI(list.get()), ORV_E_EXPORTS);
}

TEST_F(unreadable_volumes, are_reported_when_the_copy_cannot_be_opened) {
  machine.tool("cat").runs("rm -f /tmp/iscsi.*");
  EXPECT_EQ(get_shareinfo_from_iSCSI(list.get()), ORV_E_EXPORTS);
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "get_shareinfo_from_iSCSI:914 return 0 with No such file or directory\n");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(unreadable_volumes, are_none_where_they_cannot_be_examined) {
  machine.fail("stat", EACCES);
  EXPECT_EQ(get_shareinfo_from_iSCSI(list.get()), ORV_OK);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(unreadable_volumes, refuse_a_missing_list) {
  expect_refusal_of_null(get_shareinfo_from_iSCSI, "get_shareinfo_from_iSCSI");
}

}  // namespace
