#include <sys/stat.h>
#include <unistd.h>

#include "tests/orvctl/appliance_with_shares.h"

using orvctl::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class kept_copies : public appliance_with_shares {
 protected:
  kept_copies() {
    machine.directory("/var/lib/orv/kept", 0700);
    keep(samba, "[global]\n    workgroup = NAS\n    log level = 1\n", 0640);
    keep(listed, "");
  }

  void keep(const std::string& path, const std::string& text, mode_t mode = 0644) {
    machine.file("/var/lib/orv/kept" + path, text, mode);
  }

  static std::string with_log_level() {
    return "[global]\n    workgroup = NAS\n    log level = 1\n";
  }
};

TEST_F(kept_copies, are_listed_with_what_became_of_their_files) {
  keep("/etc/gone.conf", "text\n");
  const json files = json::parse(orvctl("conf list --json").out)["kept_files"];
  ASSERT_EQ(files.size(), 3u);
  EXPECT_EQ(files[0]["path"], "/etc/gone.conf");
  EXPECT_EQ(files[0]["state"], "missing");
  EXPECT_EQ(files[1]["path"], samba);
  EXPECT_EQ(files[1]["state"], "differs");
  EXPECT_EQ(files[1]["mode"], "0640");
  EXPECT_EQ(files[2]["state"], "same");
  EXPECT_EQ(orvctl("conf list --columns state,file --no-headings").out,
            "missing /etc/gone.conf\ndiffers /etc/samba/smb.conf\nsame    /etc/sharefolder.conf\n");
}

TEST_F(kept_copies, need_not_be) {
  machine.remove("/var/lib/orv");
  const outcome got = orvctl("conf list");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "There are no kept files.\n");
  EXPECT_EQ(orvctl("conf restore /etc/exports --yes").status, 3);
}

TEST_F(kept_copies, are_made_by_every_change) {
  done("share add data --service samba --path /mnt/data");
  EXPECT_EQ(orvctl("conf diff").out, "");
  machine.file(samba, "[glob");
  EXPECT_EQ(orvctl("conf restore /etc/samba/smb.conf --yes").status, 0);
  EXPECT_THAT(machine.read(samba), HasSubstr("[data]"));
}

TEST_F(kept_copies, show_what_a_restoration_would_do) {
  const outcome got = orvctl("conf diff /etc/samba/smb.conf");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out,
            "--- /etc/samba/smb.conf\n+++ /var/lib/orv/kept/etc/samba/smb.conf\n"
            "@@ -1,2 +1,3 @@\n [global]\n     workgroup = NAS\n+    log level = 1\n");
  const json all = json::parse(orvctl("conf diff --json").out)["differences"];
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0]["diff"], got.out);
  const outcome same = orvctl("conf diff /etc/sharefolder.conf");
  EXPECT_EQ(same.out, "");
  EXPECT_EQ(same.err, "Nothing differs.\n");
}

TEST_F(kept_copies, do_not_show_passwords) {
  machine.file("/etc/shadow", "ann:$1$old$hash:\n", 0600);
  keep("/etc/shadow", "ann:$1$new$hash:\n", 0600);
  EXPECT_THAT(orvctl("conf diff /etc/shadow").out,
              AllOf(HasSubstr("not shown"), Not(HasSubstr("hash"))));
  EXPECT_THAT(at_terminal("conf restore /etc/shadow", "n\n").err, Not(HasSubstr("hash")));
}

TEST_F(kept_copies, are_restored_with_owner_and_mode) {
  const bool others = machine.knows_other_users();
  if (others) {
    ASSERT_EQ(::chown("/var/lib/orv/kept/etc/samba/smb.conf", 0, 42), 0);
    ASSERT_EQ(::chmod("/var/lib/orv/kept/etc/samba/smb.conf", 0640), 0);
  }
  const outcome got = orvctl("conf restore /etc/samba/smb.conf --yes");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "Restored /etc/samba/smb.conf.\n");
  EXPECT_EQ(machine.read(samba), with_log_level());
  EXPECT_EQ(machine.mode(samba), 0640u);
  struct stat found {};
  ASSERT_EQ(::stat(samba, &found), 0);
  EXPECT_EQ(found.st_gid, others ? 42u : ::getegid());
  EXPECT_THAT(machine.list("/etc/samba"), testing::ElementsAre("smb.conf"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(kept_copies, bring_back_a_file_that_is_gone) {
  machine.remove(samba);
  EXPECT_EQ(orvctl("conf restore /etc/samba/smb.conf --yes").status, 0);
  EXPECT_EQ(machine.read(samba), with_log_level());
}

TEST_F(kept_copies, are_not_restored_without_a_yes) {
  const std::string before = machine.read(samba);
  EXPECT_EQ(orvctl("conf restore /etc/samba/smb.conf").status, 2);
  const outcome declined = at_terminal("conf restore /etc/samba/smb.conf", "n\n");
  EXPECT_EQ(declined.status, 1);
  EXPECT_THAT(declined.err, AllOf(HasSubstr("+    log level = 1\n"), HasSubstr("Continue? [y/N]")));
  EXPECT_EQ(machine.read(samba), before);
  EXPECT_EQ(at_terminal("conf restore /etc/samba/smb.conf", "y\n").status, 0);
  EXPECT_EQ(machine.read(samba), with_log_level());
}

TEST_F(kept_copies, leave_a_file_alone_that_is_as_it_was_kept) {
  struct stat before {};
  struct stat after {};
  ASSERT_EQ(::stat(listed, &before), 0);
  const outcome got = orvctl("conf restore /etc/sharefolder.conf --yes --json");
  EXPECT_EQ(json::parse(got.out)["result"]["restored"], false);
  ASSERT_EQ(::stat(listed, &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(kept_copies, are_refused_where_they_are_not_the_librarys_own) {
  const std::string before = machine.read(samba);
  machine.remove("/var/lib/orv/kept/etc/samba/smb.conf");
  machine.file("/tmp/elsewhere", "[global]\n    evil = yes\n");
  machine.link("/var/lib/orv/kept/etc/samba/smb.conf", "/tmp/elsewhere");
  EXPECT_EQ(orvctl("conf restore /etc/samba/smb.conf --yes").status, 1) << "a link";
  ASSERT_EQ(::chmod("/var/lib/orv/kept", 0777), 0);
  for (const char* words : {"conf list", "conf diff", "conf restore /etc/sharefolder.conf --yes"}) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 1) << words;
    EXPECT_THAT(got.err, HasSubstr("can be written by others")) << words;
  }
  EXPECT_EQ(machine.read(samba), before);
}

TEST_F(kept_copies, do_not_take_the_place_of_links_and_directories) {
  machine.remove(samba);
  machine.file("/etc/real.conf", "real\n");
  machine.link(samba, "/etc/real.conf");
  EXPECT_THAT(orvctl("conf restore /etc/samba/smb.conf --yes").err,
              HasSubstr("is a symbolic link"));
  EXPECT_EQ(machine.read("/etc/real.conf"), "real\n");
  EXPECT_EQ(orvctl("conf restore /etc/gone/away.conf --yes").status, 3);
}

TEST_F(kept_copies, wait_for_the_lock_of_another_process) {
  {
    const other_process holder(samba, 200);
    EXPECT_EQ(orvctl("conf restore /etc/samba/smb.conf --yes").status, 0);
  }
  machine.file(samba, "other\n");
  const other_process holder(samba);
  EXPECT_EQ(orvctl("conf restore /etc/samba/smb.conf --yes").status, 4);
  EXPECT_EQ(machine.read(samba), "other\n");
}

TEST_F(kept_copies, leave_the_file_alone_when_the_new_one_cannot_be_written) {
  machine.fail("rename", EIO);
  const std::string before = machine.read(samba);
  EXPECT_EQ(orvctl("conf restore /etc/samba/smb.conf --yes").status, 1);
  EXPECT_EQ(machine.read(samba), before);
  EXPECT_THAT(machine.list("/etc/samba"), testing::ElementsAre("smb.conf"));
}

TEST_F(kept_copies, are_named_by_plain_absolute_paths) {
  for (const char* path : {"", "/", "smb.conf", "etc/samba/smb.conf", "/etc/../etc/samba/smb.conf",
                           "/etc//samba/smb.conf", "/etc/samba/./smb.conf", "/etc/samba/"}) {
    const outcome got = run({"conf", "restore", path, "--yes"}, "", false);
    EXPECT_EQ(got.status, 2) << path;
    EXPECT_EQ(got.out, "") << path;
  }
  EXPECT_EQ(orvctl("conf restore /etc/exports --yes").status, 3);
  EXPECT_EQ(orvctl("conf restore /etc --yes").status, 1) << "a directory";
  EXPECT_EQ(orvctl("conf restore").status, 2);
  EXPECT_EQ(orvctl("conf diff /etc/samba/smb.conf /etc/exports").status, 2);
}
