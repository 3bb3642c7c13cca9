#include "tests/orvctl/appliance_with_shares.h"

using orvctl::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A share of each service, and what becomes of it out of use.
class out_of_use : public appliance_with_shares {
 protected:
  out_of_use() {
    done({"share", "add", "files", "--service", "samba", "--path", "/mnt/files", "--users",
          "ann,bob", "--read-only", "--comment", "Files"});
    done("share add export --service nfs --path /mnt/export --clients 10.0.0.0/8");
    done("share add pub --service ftp --path /mnt/pub --comment Public");
    done("share add vol --service iscsi --path /vol");
  }

  void disable_all() {
    for (const char* tool : {"umount", "chattr", "rm"}) changer(tool);
    done("share disable files");
    done("share disable export");
    done("share disable pub --yes");
  }
};

TEST_F(out_of_use, shares_keep_their_settings) {
  expect_said("share disable files", "The share files is out of use.");
  expect_said("share disable export --service nfs", "The share export is out of use.");
  EXPECT_EQ(machine.read(samba), global);
  EXPECT_EQ(machine.read(exports), "");
  EXPECT_EQ(machine.read(parked_samba),
            "[files]\n    comment = Files\n    path = /mnt/files\n    public = yes\n"
            "    writeable = no\n    printable = no\n    create mask = 0777\n"
            "    valid users = ann,bob\n");
  EXPECT_EQ(machine.read(parked_exports), "/mnt/export 10.0.0.0/8(rw,sync,no_root_squash)\n");
  EXPECT_THAT(values(listed, "samba"), ElementsAre("0", "0", "0", "0"));
  EXPECT_THAT(values(listed, "nfs"), ElementsAre("0", "0", "0", "0"));
}

TEST_F(out_of_use, shares_may_keep_other_settings) {
  done("share disable files --users carl --read-write --comment New");
  EXPECT_THAT(values(parked_samba, "valid users"), ElementsAre("carl"));
  EXPECT_THAT(values(parked_samba, "writeable"), ElementsAre("yes"));
  EXPECT_THAT(values(listed, "comment"), ElementsAre("New", "", "Public", ""));
}

TEST_F(out_of_use, an_ftp_share_loses_its_mount_after_a_question) {
  expect_failure("share disable pub", 2, "there is no terminal to ask on");
  const outcome declined = at_terminal("share disable pub", "\n");
  EXPECT_EQ(declined.status, 1);
  EXPECT_THAT(declined.err,
              HasSubstr("NAME SERVICE PATH     COMMENT\npub  ftp     /mnt/pub Public\n"
                        "The directory of this share is unmounted, and its mount point is "
                        "removed.\nContinue? [y/N] "));
  EXPECT_THAT(machine.commands(), IsEmpty());
  for (const char* tool : {"umount", "chattr", "rm"}) changer(tool);
  EXPECT_EQ(at_terminal("share disable pub", "y\n").status, 0);
  EXPECT_THAT(changes(), testing::Contains("umount /mnt/pub > /dev/null"));
  EXPECT_THAT(values(listed, "ftp"), ElementsAre("0", "0", "0", "0"));
}

TEST_F(out_of_use, nothing_would_keep_an_iscsi_volume) {
  const sandbox::lines before = contents();
  expect_failure("share disable vol", 2, "nothing keeps the settings of an iSCSI volume");
  EXPECT_EQ(contents(), before);
}

TEST_F(out_of_use, shares_are_listed) {
  EXPECT_EQ(orvctl("recycle list").err, "No share is out of use.\n");
  EXPECT_EQ(json::parse(orvctl("recycle list --json").out)["kept_shares"], json::array());
  disable_all();
  EXPECT_EQ(orvctl("recycle list").out,
            "NAME   FORMER SERVICE PATH        USERS      WRITABLE COMMENT\n"
            "files  samba          /mnt/files  ann,bob    no       Files\n"
            "export nfs            /mnt/export 10.0.0.0/8 -        -\n"
            "pub    -              /mnt/pub    -          -        Public\n");
  EXPECT_EQ(json::parse(orvctl("recycle list --json").out)["kept_shares"][1],
            json::parse(R"({"name": "export", "former_service": "nfs", "path": "/mnt/export",
                "users": "10.0.0.0/8", "writable": null, "comment": null})"));
}

TEST_F(out_of_use, shares_change) {
  disable_all();
  expect_said("recycle modify files --users carl --comment New",
              "Changed what is kept of the share files.");
  EXPECT_THAT(values(parked_samba, "valid users"), ElementsAre("carl"));
  EXPECT_THAT(values(parked_samba, "writeable"), ElementsAre("no"));
  EXPECT_THAT(values(parked_samba, "comment"), ElementsAre("New"));
  done("recycle modify files --service samba --read-write");
  EXPECT_THAT(values(parked_samba, "writeable"), ElementsAre("yes"));
  EXPECT_THAT(values(parked_samba, "comment"), ElementsAre("New"));
  done("recycle modify export --comment Exported");
  EXPECT_EQ(machine.read(parked_exports), "/mnt/export 10.0.0.0/8(rw,sync,no_root_squash)\n");
  done("recycle modify pub --comment Text");
  EXPECT_THAT(values(listed, "comment"), ElementsAre("New", "Exported", "Text", ""));
  EXPECT_THAT(values(listed, "samba"), ElementsAre("0", "0", "0", "0"));
}

TEST_F(out_of_use, only_shares_that_are_kept_change) {
  disable_all();
  const sandbox::lines before = contents();
  expect_failure("recycle modify files", 2, "nothing to change was given");
  expect_failure("recycle modify pub --users ann", 2, "an FTP share has no users");
  expect_failure("recycle modify vol --users ann", 3, "ORV_E_NO_SHARE (-2067)");
  expect_failure("recycle modify files --service nfs --users ann", 3, "files is not kept");
  expect_failure("recycle delete vol --yes", 3, "vol is not kept");
  expect_failure("share modify files --users ann", 3, "files is out of use\n  What to do: take it");
  expect_failure("share delete files --yes", 3, "files is out of use");
  expect_failure("share disable files", 3, "files is out of use");
  EXPECT_EQ(contents(), before);
}

TEST_F(out_of_use, shares_come_into_use_again) {
  const sandbox::lines before = contents();
  disable_all();
  expect_said("share enable files --service samba", "The share files is in use (samba).");
  expect_failure("share enable export --service nfs", 2, "give --read-only or --read-write");
  expect_said("share enable export --service nfs --read-write",
              "The share export is in use (nfs).");
  expect_said("share enable pub --service ftp", "The share pub is in use (ftp).");
  EXPECT_EQ(machine.read(listed), before[0]);
  EXPECT_EQ(machine.read(samba), before[1]);
  EXPECT_EQ(machine.read(exports), before[2]);
  EXPECT_EQ(machine.read(parked_samba), "");
  EXPECT_EQ(machine.read(parked_exports), "");
}

TEST_F(out_of_use, shares_may_change_their_service_on_the_way) {
  done("share disable files");
  done("share enable files --service nfs --read-only --clients 10.1.0.0/16");
  EXPECT_EQ(machine.read(exports),
            "/mnt/export 10.0.0.0/8(rw,sync,no_root_squash)\n"
            "/mnt/files 10.1.0.0/16(ro,sync,no_root_squash)\n");
  EXPECT_THAT(values(parked_samba, "valid users"), ElementsAre("ann,bob"));
}

TEST_F(out_of_use, shares_in_use_are_not_enabled_or_forgotten) {
  const sandbox::lines before = contents();
  expect_failure("share enable files --service samba", 4, "files is in use");
  expect_failure("share forget files --yes", 4,
                 "files is in use\n  What to do: take it out of use first");
  EXPECT_EQ(contents(), before);
}

TEST_F(out_of_use, what_is_kept_is_deleted) {
  disable_all();
  expect_said("recycle delete files --yes", "Nothing is kept of the share files any more.");
  EXPECT_EQ(machine.read(parked_samba), "");
  expect_said("recycle delete export --yes", "Nothing is kept of the share export any more.");
  EXPECT_EQ(machine.read(parked_exports), "");
  EXPECT_THAT(values(listed, "sharename"), ElementsAre("files", "export", "pub", "vol"));
}

TEST_F(out_of_use, shares_are_forgotten) {
  disable_all();
  for (const std::string name : {"files", "export", "pub"}) {
    expect_said("share forget " + name + " --yes", "The share " + name + " is forgotten.");
  }
  EXPECT_THAT(values(listed, "sharename"), ElementsAre("vol"));
  EXPECT_EQ(machine.read(parked_samba), "");
  EXPECT_EQ(machine.read(parked_exports), "");
}

TEST_F(out_of_use, a_lock_half_way_is_waited_for) {
  const other_process holder(samba, 200);
  done("share disable export");
  done("share disable files");
  EXPECT_EQ(machine.read(samba), global);
  EXPECT_THAT(values(parked_samba, "valid users"), ElementsAre("ann,bob"));
}

TEST_F(out_of_use, a_locked_recycle_file_is_told) {
  machine.file(parked_samba, "");
  const other_process holder(parked_samba);
  expect_failure("recycle list", 4, "ORV_E_FILE_LOCKED (-2062)");
  expect_failure("share disable files", 4,
                 "ORV_E_SERVICE_LOCKED (-2061): the file of the "
                 "share's service cannot be locked: the users of files "
                 "were ann,bob\n");
}

}  // namespace
