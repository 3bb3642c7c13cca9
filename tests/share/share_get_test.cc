#include <limits>

#include "tests/share/discovery.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// An appliance with one share of each service. The directories of the first three are mounted.
class share_get_of : public discovery_test {
 protected:
  share_get_of() {
    machine.tool("cat").is_real();
    shares(listed("photos") + listed("films", "nfs") + listed("inbox", "ftp") +
           listed("disk", "iscsi"));
    smb(global + offered("photos", "ann,bob", "writable = no"));
    machine.file("/etc/vsftpd/eve", "local_root=/mnt/inbox\nwrite_enable=NO\n");
    machine.directory("/home/eve");
    exports(exported("films", "10.0.0.0/24", "ro"));
    mounts({"/mnt/photos", "/mnt/films", "/mnt/inbox"});
    machine.file("/proc/net/iet/volume",
                 "tid:1 name:iqn.2006-05.org.orv:disk.20240131235959\n"
                 "\tlun:0 state:0 iotype:fileio iomode:wb path:/mnt/pool/disk\n");
    machine.file(ietd_path,
                 "Target iqn.2006-05.org.orv:disk.20240131235959\n"
                 "\tIncomingUser joe secret\n");
  }

  void mounts(const sandbox::lines& directories) {
    std::string text;
    for (const std::string& directory : directories) {
      text += "/dev/x " + directory + " xfs rw 0 0\n";
      machine.statfs(directory, {.block_size = 4096, .blocks = 26214400, .available = 19660800});
    }
    machine.file("/proc/mounts", text);
  }
};

TEST_F(share_get_of, every_service_is_complete) {
  EXPECT_THAT(after(share_get),
              ElementsAre("photos|of photos|/mnt/photos|samba|ann,bob|ro",
                          "films|of films|/mnt/films|nfs|10.0.0.0/24|ro",
                          "inbox|of inbox|/mnt/inbox|ftp|eve|ro",
                          "disk|Filesystem unmounted|/mnt/pool/disk|iSCSI|joe|rw"));
  for (const tag_share_config* share : list.records()) {
    const bool is_volume = std::string(share->name) == "disk";
    EXPECT_EQ(share->size, is_volume ? 7U : 100U);
    EXPECT_EQ(share->used, is_volume ? 0U : 2560U);
  }
  EXPECT_EQ(machine.output(), "filesystem /mnt/disk cannot statfs\n");
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/net/iet/volume > /tmp/iscsi.XXXXXX",
                                              "cat /etc/ietd.conf > /tmp/iscsi.XXXXXX"));
}

TEST_F(share_get_of, a_share_of_two_services_has_neither_rights_nor_clients) {
  shares("[both]\nsharename = both\npath = /mnt/both\nsamba = 1\nnfs = 1\n");
  smb(global + offered("both", "ann", "writable = no"));
  exports(exported("both", "10.0.0.1", "ro"));
  mounts({"/mnt/both"});
  after(share_get);
  EXPECT_EQ(told(*list.records()[0]), "both||/mnt/both|samba,nfs||rw");
}

TEST_F(share_get_of, an_unmounted_directory_says_so) {
  mounts({"/mnt/photos"});
  after(share_get);
  EXPECT_STREQ(list.records()[0]->comment, "of photos");
  EXPECT_STREQ(list.records()[1]->comment, "Filesystem unmounted");
  EXPECT_EQ(list.records()[1]->used, 2560U);
}

TEST_F(share_get_of, a_target_that_is_no_share_adds_a_record) {
  shares("");
  EXPECT_THAT(after(share_get), ElementsAre("disk||/mnt/pool/disk|iSCSI|joe|rw"));
}

TEST_F(share_get_of, a_volume_whose_target_does_not_run_stays_marked_as_mounted) {
  machine.remove("/proc/net/iet/volume");
  mounts({"/"});
  after(share_get);
  EXPECT_EQ(told(*list.records()[3]), "disk|of disk|/mnt/disk|iSCSI|joe|rw");
  EXPECT_EQ(list.records()[3]->used, std::numeric_limits<uint64_t>::max());
}

TEST_F(share_get_of, a_machine_with_a_target_file_only_is_empty) {
  for (const char* path : {"/etc/sharefolder.conf", "/etc/samba/smb.conf", "/etc/exports",
                           "/proc/mounts", "/proc/net/iet/volume", "/etc/vsftpd/eve"}) {
    machine.remove(path);
  }
  EXPECT_THAT(after(share_get), IsEmpty());
}

TEST_F(share_get_of, no_ftp_users_goes_on) {
  machine.remove("/etc/vsftpd/eve");
  machine.fail("opendir", ENOENT);
  EXPECT_EQ(share_get(list.get()), ORV_OK);
  EXPECT_EQ(list.told().size(), 4U);
  EXPECT_EQ(list.told()[2], "inbox|of inbox|/mnt/inbox|ftp||rw");
  EXPECT_EQ(machine.log(), "get_ftp_user:N return with No such file or directory\n");
}

TEST_F(share_get_of, exports_that_cannot_be_opened_ends_with_what_is_known_then) {
  machine.remove("/etc/vsftpd/eve");
  machine.fail("fopen", EACCES, 3);
  EXPECT_EQ(share_get(list.get()), ORV_E_EXPORTS);
  EXPECT_EQ(list.told().size(), 4U);
  EXPECT_EQ(list.told()[0], "photos|of photos|/mnt/photos|samba|ann,bob|ro");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(share_get_of, a_target_without_its_file_fails_with_all_that_is_known) {
  machine.remove(ietd_path);
  EXPECT_EQ(share_get(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(machine.log(), HasSubstr("cat /etc/ietd.conf"));
  EXPECT_EQ(list.told()[3], "disk|Filesystem unmounted|/mnt/pool/disk|iSCSI||rw");
}

TEST_F(share_get_of, volumes_that_cannot_be_read_ends_before_the_targets) {
  machine.fail("mkstemp", EMFILE, 1);
  EXPECT_EQ(share_get(list.get()), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(share_get_of, volumes_whose_copy_cannot_be_opened_ends_before_the_targets) {
  machine.fail("fopen", EMFILE, 6);
  EXPECT_EQ(share_get(list.get()), ORV_E_EXPORTS);
  EXPECT_THAT(list.told(), ElementsAre("photos|of photos|/mnt/photos|samba|ann,bob|ro",
                                       "films|of films|/mnt/films|nfs|10.0.0.0/24|ro",
                                       "inbox|of inbox|/mnt/inbox|ftp|eve|ro",
                                       "disk|Filesystem unmounted|/mnt/disk|iSCSI||rw"));
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/net/iet/volume > /tmp/iscsi.XXXXXX"));
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "get_shareinfo_from_iSCSI:914 return 0 with Too many open files\n");
}

TEST_F(share_get_of, targets_whose_copy_cannot_be_opened_fails_with_all_that_is_known) {
  machine.fail("fopen", EMFILE, 7);
  EXPECT_EQ(share_get(list.get()), ORV_E_IETD);
  EXPECT_EQ(list.told().size(), 4U);
  EXPECT_EQ(list.told()[3], "disk|Filesystem unmounted|/mnt/pool/disk|iSCSI||rw");
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/net/iet/volume > /tmp/iscsi.XXXXXX",
                                              "cat /etc/ietd.conf > /tmp/iscsi.XXXXXX"));
  ASSERT_EQ(machine.log_records().size(), 1U);
  EXPECT_EQ(machine.log_records()[0].text,
            "get_shareinfo_from_ietd:705 return 0 with Too many open files\n");
}

TEST_F(share_get_of, a_list_without_a_list_is_refused) {
  expect_refusal_of_null(share_get, "share_get");
}

TEST_F(share_get_of, a_list_that_was_released_fills_it_again) {
  for (int time = 0; time < 2; ++time) {
    EXPECT_THAT(after(share_get),
                ElementsAre("photos|of photos|/mnt/photos|samba|ann,bob|ro",
                            "films|of films|/mnt/films|nfs|10.0.0.0/24|ro",
                            "inbox|of inbox|/mnt/inbox|ftp|eve|ro",
                            "disk|Filesystem unmounted|/mnt/pool/disk|iSCSI|joe|rw"));
    EXPECT_EQ(share_list_fini(list.get()), 0);
  }
}

TEST_F(share_get_of, two_calls_appends_the_shares_again) {
  after(share_get);
  after(share_get);
  EXPECT_EQ(list.told().size(), 8U);
}

TEST_F(share_get_of, thousands_of_shares_opens_each_file_as_often_as_for_one) {
  constexpr int count = 3000;
  const char* const services[] = {"samba", "nfs", "ftp", "iscsi"};
  std::string all;
  std::string samba = global;
  std::string nfs;
  std::string targets;
  sandbox::lines directories;
  for (int i = 0; i < count; ++i) {
    const std::string name = "s" + std::to_string(i);
    const std::string service = services[i % 4];
    all += listed(name, service);
    if (service == "samba") samba += offered(name, "u" + name);
    if (service == "nfs") nfs += exported(name, "u" + name);
    if (service == "iscsi")
      targets += "Target iqn.x:" + name + ".1\n\tIncomingUser u" + name + " x\n";
    directories.push_back("/mnt/" + name);
  }
  shares(all);
  smb(samba);
  exports(nfs);
  mounts(directories);
  machine.file(ietd_path, targets);
  // The shares, Samba, one FTP user, the exports, the mounts, the volumes and the targets.
  machine.fail("fopen", EMFILE, 8);
  after(share_get);
  const auto records = list.records();
  ASSERT_EQ(records.size(), std::size_t{count} + 1);
  for (int i = 0; i < count; ++i) {
    const tag_share_config& share = *records[static_cast<std::size_t>(i)];
    const std::string name = "s" + std::to_string(i);
    ASSERT_EQ(share.name, name);
    EXPECT_EQ(share.valid_users, i % 4 == 2 ? "" : "u" + name);
    EXPECT_EQ(share.size, i % 4 == 3 ? 7U : 100U);
  }
}

}  // namespace
