#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "tests/orvctl/appliance_with_shares.h"

using orvctl::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class shares : public appliance_with_shares {
 protected:
  static void add_samba_shares() {
    done("share add data --service samba --path /mnt/data --users ann,bob");
    done("share add docs --service samba --path /mnt/docs --users carl --read-only");
  }
  static json recovered() {
    return json::parse(orvctl("share recover --json").out)["result"]["completed"];
  }
  /// The file as it is on the disk when the power fails while it is rewritten.
  void cut_short(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
    ASSERT_EQ(::unlink((companion_of(path) + ".done").c_str()), 0);
  }
  static std::string companion_of(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(::stat(path.c_str(), &found), 0);
    return "/var/lib/orv/rewrites/" + std::to_string(found.st_dev) + '-' +
           std::to_string(found.st_ino);
  }
};

TEST_F(shares, are_added_to_the_list_and_to_their_service) {
  done({"share", "add", "data", "--service", "samba", "--path", "/mnt/data", "--users", "ann,bob",
        "--comment", "Files of ann"});
  EXPECT_EQ(machine.read(samba), std::string(global) +
                                     "[data]\n    comment = Files of ann\n    path = /mnt/data\n"
                                     "    public = yes\n    writable = yes\n    printable = no\n"
                                     "    create mask = 0777\n    valid users = ann,bob\n");
  EXPECT_EQ(machine.read(listed),
            "[data]\n    sharename = data\n    path = /mnt/data\n    size = 0\n    samba = 1\n"
            "    nfs = 0\n    ftp = 0\n    iscsi = 0\n    comment = Files of ann\n");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(shares, are_added_for_every_service) {
  expect_said("share add data --service nfs --path /mnt/data --clients 10.0.0.0/8 --read-only",
              "Added the share data (nfs).");
  EXPECT_EQ(machine.read(exports), "/mnt/data 10.0.0.0/8(ro,sync,no_root_squash)\n");
  expect_said("share add vol --service iscsi --path /vol --users ann --size 12",
              "Added the share vol (iscsi).");
  EXPECT_THAT(machine.read(targets),
              AllOf(HasSubstr("Target iqn.2006-05.org.orv:vol."),
                    HasSubstr("IncomingUser ann secret of an\n"), HasSubstr("Path=/vol,")));
  expect_said("share add pub --service ftp --path /mnt/pub", "Added the share pub (ftp).");
  EXPECT_THAT(values(listed, "sharename"), ElementsAre("data", "vol", "pub"));
  EXPECT_THAT(values(listed, "size"), ElementsAre("0", "12", "0"));
}

TEST_F(shares, give_the_others_their_user_lists_back) {
  done({"share", "add", "data", "--service", "samba", "--path", "/mnt/data", "--users", "ann,bob",
        "--comment", "Files of ann"});
  done("share add free --service samba --path /mnt/free");
  done("share add docs --service samba --path /mnt/docs --users carl --read-only");
  const outcome got = orvctl("share add more --service samba --path /mnt/more --users dora");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "Added the share more (samba).\nGave data, docs their user lists back.\n");
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("ann,bob", "", "carl", "dora"));
  EXPECT_THAT(values(samba, "writable"), ElementsAre("yes", "yes", "no", "yes"));
  EXPECT_THAT(values(samba, "comment"), ElementsAre("Files of ann", "", "", ""));
  EXPECT_THAT(values(listed, "comment"), ElementsAre("Files of ann", "", "", ""));
}

TEST_F(shares, tell_a_script_whose_lists_were_given_back) {
  add_samba_shares();
  const outcome got = orvctl("share add more --service samba --path /mnt/more --json");
  EXPECT_EQ(json::parse(got.out), json::parse(R"({"format_version": 2, "result":
      {"share": "more", "service": "samba", "user_lists_given_back": ["data", "docs"]}})"));
}

TEST_F(shares, of_nfs_and_iscsi_get_their_lists_back_too) {
  done({"share", "add", "data", "--service", "nfs", "--path", "/mnt/data", "--clients", "a b"});
  done("share add all --service nfs --path /mnt/all");
  expect_said("share add docs --service nfs --path /mnt/docs --clients c",
              "Added the share docs (nfs).\nGave data their user lists back.");
  EXPECT_EQ(machine.read(exports),
            "/mnt/data a b(rw,sync,no_root_squash)\n/mnt/all *(rw,sync,no_root_squash)\n"
            "/mnt/docs c(rw,sync,no_root_squash)\n");
  done("share add vol --service iscsi --path /vol --users ann");
  expect_said("share add two --service iscsi --path /two",
              "Added the share two (iscsi).\nGave vol their user lists back.");
  EXPECT_THAT(machine.read(targets), HasSubstr("\tIncomingUser ann secret of an\n"));
}

TEST_F(shares, say_whose_lists_are_lost) {
  add_samba_shares();
  // Out of use in the list, and served all the same: to be given back its list it would come into
  // use.
  std::string list = machine.read(listed);
  list.replace(list.find("samba = 1"), 9, "samba = 0");
  machine.file(listed, list);
  const outcome got = orvctl("share add more --service samba --path /mnt/more");
  EXPECT_EQ(got.status, 5);
  EXPECT_THAT(got.err, HasSubstr("the share was added, but the other shares of samba were not "
                                 "repaired: the users of data (ann,bob) are lost\n"
                                 "  What to do: look at 'orvctl share list' and set users and "
                                 "rights with 'orvctl share modify'\n"));
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("", "carl", ""));
}

TEST_F(shares, of_nfs_stay_read_only_when_others_change) {
  for (const std::string name : {"a", "b", "c"}) {
    done("share add " + name + " --service nfs --path /mnt/" + name + " --read-only --clients h");
  }
  const auto rights = [&] {
    std::string all;
    std::istringstream text(machine.read(exports));
    for (std::string line; std::getline(text, line);) {
      all += line.substr(5, 1) + line.substr(line.find('(') + 1, 2) + ' ';
    }
    return all;
  };
  EXPECT_EQ(rights(), "aro bro cro ");
  done("share modify b --read-write");
  EXPECT_EQ(rights(), "aro brw cro ");
  done("share modify a --comment text");
  EXPECT_EQ(rights(), "aro brw cro ");
  done("share disable c");
  EXPECT_EQ(rights(), "aro brw ");
  done("share enable c --service nfs --read-only");
  EXPECT_EQ(rights(), "aro brw cro ");
  done("share delete a --yes");
  EXPECT_EQ(rights(), "brw cro ");
}

TEST_F(shares, that_exist_are_not_added_again) {
  done("share add data --service samba --path /mnt/data --users ann");
  done("share add pub --service ftp --path /mnt/pub");
  const sandbox::lines before = contents();
  for (const std::string name : {"data", "pub"}) {
    for (const std::string service : {"samba", "ftp", "iscsi"}) {
      expect_failure("share add " + name + " --service " + service + " --path /mnt/other", 4,
                     "ORV_E_SHARE_EXISTS (-2066): a share of this name exists already: " + name);
    }
  }
  EXPECT_EQ(contents(), before);
}

TEST_F(shares, that_make_no_sense_are_refused) {
  for (const auto& [words, meaning] : std::vector<std::pair<std::string, std::string>>{
           {"data --service smtp --path /x", "--service: 'smtp' is not samba, nfs, ftp or iscsi"},
           {"data --service Samba --path /x", "--service: 'Samba' is not samba, nfs, ftp or iscsi"},
           {"data --service samba --path mnt", "'mnt' is not an absolute path"},
           {"data --service nfs --path /mnt/other", "NFS knows a share by the last part"},
           {"data --service ftp --path /mnt/data --users ann",
            "has no users and rights of its own"},
           {"data --service ftp --path /mnt/data --read-only",
            "has no users and rights of its own"},
           {"data --service samba", "--path is required"},
           {"data --path /x", "--service is required"},
           {"data --service iscsi --path /x --size 2147483648", "--size: '2147483648' is not"},
           {"data --service samba --path /x --read-only --read-write", "excludes"}}) {
    expect_failure("share add " + words, 2, meaning);
  }
  EXPECT_EQ(run({"share", "add", "", "--service", "samba", "--path", "/x"}, "", false).status, 2);
  EXPECT_EQ(machine.read(listed), "");
}

TEST_F(shares, are_not_cut) {
  const std::string add = "share add data --service samba --path ";
  expect_failure(add + '/' + std::string(127, 'p'), 2, "the path is longer than 127 characters");
  expect_failure(add + "/x --comment " + std::string(128, 'c'), 2,
                 "the comment is longer than 127 characters");
  expect_failure(add + "/x --users " + std::string(256, 'u'), 2,
                 "the list of users is longer than 255 characters");
  expect_failure("share add " + std::string(33, 'n') + " --service samba --path /x", 2,
                 "the name of the share is longer than 32 characters");
  EXPECT_EQ(machine.read(listed), "");
}

TEST_F(shares, keep_what_a_change_does_not_name) {
  done({"share", "add", "data", "--service", "samba", "--path", "/mnt/data", "--users", "ann",
        "--comment", "Files"});
  expect_said("share modify data --read-only", "Changed the share data.");
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("ann"));
  EXPECT_THAT(values(samba, "comment"), ElementsAre("Files"));
  EXPECT_THAT(values(samba, "writable"), ElementsAre("no"));
  done("share modify data --users ann,bob");
  EXPECT_THAT(values(samba, "writable"), ElementsAre("no"));
  done("share modify data --read-write --comment Text --service samba");
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("ann,bob"));
  EXPECT_THAT(values(listed, "comment"), ElementsAre("Text"));
  EXPECT_EQ(run({"share", "modify", "data", "--users", ""}, "", false).status, 0);
  EXPECT_THAT(values(samba, "valid users"), ElementsAre(""));
}

TEST_F(shares, of_ftp_have_a_comment_to_change) {
  done("share add pub --service ftp --path /mnt/pub");
  expect_said("share modify pub --comment Public", "Changed the share pub.");
  EXPECT_THAT(values(listed, "comment"), ElementsAre("Public"));
  expect_failure("share modify pub --users ann", 2, "an FTP share has no users");
}

TEST_F(shares, of_iscsi_change_under_their_plain_name) {
  done("share add vol --service iscsi --path /vol");
  const std::string target = machine.read(targets).substr(0, machine.read(targets).find('\n'));
  done("share modify vol --users ann");
  EXPECT_THAT(machine.read(targets), AllOf(StartsWith(target), HasSubstr("IncomingUser ann ")));
  expect_said("share delete vol --yes", "Deleted the share vol.");
  EXPECT_EQ(machine.read(targets), "");
  EXPECT_EQ(machine.read(listed), "");
}

TEST_F(shares, are_changed_only_when_there_is_something_to_change) {
  add_samba_shares();
  const sandbox::lines before = contents();
  expect_failure("share modify data", 2, "nothing to change was given");
  expect_failure("share modify nobody --read-only", 3,
                 "ORV_E_NO_SHARE (-2067): there is no share of this name: nobody");
  expect_failure("share delete nobody --yes", 3, "ORV_E_NO_SHARE (-2067)");
  expect_failure("share disable nobody", 3, "ORV_E_NO_SHARE (-2067)");
  expect_failure("share enable nobody --service samba", 3, "ORV_E_NO_SHARE (-2067)");
  expect_failure("share forget nobody --yes", 3, "ORV_E_NO_SHARE (-2067)");
  EXPECT_EQ(contents(), before);
}

TEST_F(shares, that_a_power_cut_left_half_rewritten_are_put_together_again) {
  add_samba_shares();
  const std::string whole = machine.read(samba);
  expect_said("share recover", "All share files are whole.");
  cut_short(samba, whole.substr(0, whole.find("    valid users")));
  expect_said("share recover", std::string("Put together again: ") + samba);
  EXPECT_EQ(machine.read(samba), whole);
  expect_said("share recover", "All share files are whole.");
}

TEST_F(shares, that_cannot_be_put_together_again_are_named_when_the_others_are) {
  add_samba_shares();
  const std::string whole = machine.read(samba);
  cut_short(listed, "");
  const std::string text = companion_of(listed);
  machine.remove(text);
  machine.directory(text);
  cut_short(samba, whole.substr(0, whole.find("    valid users")));
  expect_failure("share recover", 1,
                 std::string("ORV_E_SHARE_OPEN (-10): a share file cannot be opened: ") + listed +
                     "; put together again: " + samba);
  EXPECT_EQ(machine.read(samba), whole);
  EXPECT_EQ(machine.read(listed), "");
}

TEST_F(shares, are_put_together_again_as_a_document) {
  add_samba_shares();
  const std::string whole = machine.read(listed);
  cut_short(listed, "");
  EXPECT_EQ(recovered(), json::array({listed}));
  EXPECT_EQ(machine.read(listed), whole);
  EXPECT_EQ(recovered(), json::array());
}

TEST_F(shares, missing_from_their_service_are_added_there_by_a_change) {
  done("share add data --service samba --path /mnt/data");
  machine.file(samba, global);
  expect_said("share modify data --users ann",
              "Changed the share data.\n"
              "It was missing from the file of its service and was added there.");
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("ann"));
}

TEST_F(shares, are_deleted_from_both_files) {
  add_samba_shares();
  expect_said("share delete data --yes", "Deleted the share data.");
  EXPECT_THAT(values(listed, "sharename"), ElementsAre("docs"));
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("carl"));
  machine.file(samba, global);
  expect_failure("share delete docs --yes", 3,
                 "one of its two files did not have it; the other was changed");
  EXPECT_EQ(machine.read(listed), "");
}

TEST_F(shares, that_only_a_service_has_are_deleted_by_naming_it) {
  machine.file(exports, "/mnt/old *(rw,sync,no_root_squash)\n/mnt/new *(rw,sync,no_root_squash)\n");
  expect_failure("share delete old --yes", 3, "ORV_E_NO_SHARE");
  expect_failure("share delete old --service nfs --yes", 3, "the other was changed");
  EXPECT_EQ(machine.read(exports), "/mnt/new *(rw,sync,no_root_squash)\n");
}

TEST_F(shares, are_shown_with_users_rights_and_use) {
  add_samba_shares();
  done("share add vol --service iscsi --path /vol --size 12");
  machine.file("/proc/mounts", "/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n");
  const outcome got = orvctl("share list");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out,
            "NAME SERVICE PATH      USERS   WRITABLE   SIZE     USED COMMENT\n"
            "data samba   /mnt/data ann,bob yes      10 GiB 6140 MiB -\n"
            "docs samba   /mnt/docs carl    no        0 GiB    0 MiB Filesystem unmounted\n"
            "vol  iSCSI   /vol      -       yes      12 GiB    0 MiB Filesystem unmounted\n");
  EXPECT_EQ(json::parse(orvctl("share list --json").out)["shares"][0],
            json::parse(R"({"name": "data", "service": "samba", "path": "/mnt/data",
                "users": "ann,bob", "writable": true, "size_bytes": 10737418240, "used_bytes": 6438256640,
                "comment": null})"));
}

TEST_F(shares, show_what_was_found_before_a_failure) {
  done("share add data --service samba --path /mnt/data");
  machine.remove(targets);
  const outcome got = orvctl("share list");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.out, HasSubstr("\ndata samba "));
  EXPECT_THAT(got.err, StartsWith("orvctl: share list: ORV_E_COMMAND (-11000)"));
}

TEST_F(shares, wait_for_the_lock_of_another_process) {
  add_samba_shares();
  {
    const other_process holder(listed, 200);
    done("share modify data --users ann");
  }
  {
    const other_process holder(samba, 200);
    done("share add more --service samba --path /mnt/more --users dora");
  }
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("ann", "carl", "dora"));
}

TEST_F(shares, are_not_changed_while_another_process_holds_a_lock) {
  add_samba_shares();
  const sandbox::lines before = contents();
  const other_process holder(samba);
  for (const std::string words : {"share add more --service samba --path /mnt/more",
                                  "share modify data --users ann", "share delete data --yes"}) {
    expect_failure(words, 4, "(-2062): the file is locked by another process");
  }
  EXPECT_EQ(contents(), before);
}

TEST_F(shares, leave_a_file_alone_that_makes_no_sense) {
  add_samba_shares();
  machine.file(samba, std::string(global) + "[data\n");
  const sandbox::lines before = contents();
  for (const std::string words :
       {"share add more --service samba --path /mnt/more", "share modify data --users ann",
        "share delete data --yes", "share disable data"}) {
    expect_failure(words, 1, "ORV_E_SHARE_SYNTAX (-14)");
  }
  EXPECT_EQ(contents(), before);
}

TEST_F(shares, add_no_line_through_a_value) {
  done({"share", "add", "a]b=c", "--service", "samba", "--path", "/mnt/x", "--comment",
        "one\n[two]\n", "--users", "ann\nguest ok = yes"});
  EXPECT_THAT(values(samba, "comment"), ElementsAre("one [two] "));
  EXPECT_THAT(values(samba, "valid users"), ElementsAre("ann guest ok   yes"));
  done({"share", "delete", "a b c", "--yes"});
  EXPECT_EQ(machine.read(samba), global);
}

TEST_F(shares, leave_nothing_behind) {
  add_samba_shares();
  orvctl("share list");
  done("share delete data --yes");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

}  // namespace
