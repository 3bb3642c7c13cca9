#include "tests/orvctl/whole_appliance.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

/// What the shell is told when a command line is being typed.
class completion : public whole_appliance {
 protected:
  /// The words that fit after these; the last one is typed in part.
  static sandbox::lines after(std::vector<std::string> words) {
    words.insert(words.begin(), "complete");
    const outcome got = run(words, "", false);
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.err, "");
    std::istringstream text(got.out);
    sandbox::lines all;
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  }
};

TEST_F(completion, knows_nouns_and_verbs) {
  EXPECT_THAT(after({""}), IsSupersetOf({"disk", "raid", "share", "status", "conf", "metrics"}));
  EXPECT_THAT(after({"s"}), ElementsAre("service", "share", "smart", "spare", "status", "system"));
  EXPECT_THAT(after({"raid", "re"}), ElementsAre("recreate", "remove"));
  EXPECT_THAT(after({"nothing", ""}), IsSupersetOf({"disk"}));
}

TEST_F(completion, knows_options) {
  EXPECT_THAT(after({"pool", "list", "--"}),
              IsSupersetOf({"--json", "--columns", "--no-headings", "--bytes", "--help"}));
  EXPECT_THAT(after({"raid", "create", "--le"}), ElementsAre("--level"));
  EXPECT_THAT(after({"raid", "create", "--level", ""}),
              ElementsAre("linear", "raid0", "raid1", "raid5", "raid6"));
  EXPECT_THAT(after({"raid", "destroy", "--", "--"}), IsEmpty());
}

TEST_F(completion, knows_what_the_machine_has) {
  EXPECT_THAT(after({"raid", "destroy", ""}), ElementsAre("md0", "md1"));
  EXPECT_THAT(after({"raid", "destroy", "--yes", ""}), ElementsAre("md0", "md1"));
  EXPECT_THAT(after({"vg", "destroy", ""}), ElementsAre("vg1"));
  EXPECT_THAT(after({"pool", "destroy", ""}), ElementsAre("vg1"));
  EXPECT_THAT(after({"pool", "destroy", "vg1", ""}), ElementsAre("data"));
  EXPECT_THAT(after({"pool", "destroy", "vg2", ""}), IsEmpty());
  EXPECT_THAT(after({"fs", "umount", "/mn"}), ElementsAre("/mnt/data"));
  EXPECT_THAT(after({"share", "modify", ""}), ElementsAre("data"));
  EXPECT_THAT(after({"user", "delete", "a"}), ElementsAre("ann"));
  EXPECT_THAT(after({"service", "stop", "i"}), ElementsAre("iscsi"));
  EXPECT_THAT(after({"conf", "restore", "/etc/samba/"}), Contains("/etc/samba/smb.conf"));
}

TEST_F(completion, knows_the_channels_of_the_enclosure) {
  EXPECT_THAT(after({"disk", "clear", "--enclosure", "1", ""}), ElementsAre("1", "2", "3", "4"));
  EXPECT_THAT(after({"disk", "clear", ""}), IsEmpty()) << "no disk is in the chassis";
  EXPECT_THAT(after({"disk", "clear", "--enclosure", "1", "1,"}), ElementsAre("1,2", "1,3", "1,4"));
  EXPECT_THAT(after({"smart", "show", "sd"}), ElementsAre("sda", "sdb", "sdc", "sdd"));
}

TEST_F(completion, knows_the_columns_of_a_list) {
  EXPECT_THAT(after({"client", "list", "--columns", ""}),
              ElementsAre("address", "protocol", "share", "user"));
  EXPECT_THAT(after({"client", "list", "--columns", "share,"}),
              ElementsAre("share,address", "share,protocol", "share,user"));
  EXPECT_THAT(after({"fs", "list", "--columns", "mou"}), ElementsAre("mount_point"));
  machine.remove(listed);
  EXPECT_THAT(after({"share", "list", "--columns", "na"}), ElementsAre("name"))
      << "columns are known when the list is not";
}

TEST_F(completion, offers_no_name_for_something_new) {
  EXPECT_THAT(after({"share", "add", ""}), IsEmpty());
  EXPECT_THAT(after({"vg", "create", ""}), IsEmpty());
  EXPECT_THAT(after({"pool", "create", "vg1", ""}), IsEmpty());
}

TEST_F(completion, leaves_files_to_the_shell) {
  EXPECT_THAT(after({"system", "processes", "/tm"}), ElementsAre(":files"));
}

TEST_F(completion, says_nothing_of_errors) {
  fail_to_tell("groups");
  machine.remove(listed);
  EXPECT_THAT(after({"share", "modify", ""}), IsEmpty());
  after({"vg", "destroy", ""});
  EXPECT_THAT(after({"raid", "destroy", "no", "more", "words", ""}), IsEmpty());
  EXPECT_THAT(after({"raid", "destroy", "--wrong", ""}), Contains("md0"));
}

TEST_F(completion, is_no_command_for_people) {
  EXPECT_THAT(after({""}), Not(Contains("complete")));
}
