#include "tests/share/share_machine.h"

using share_mode = share_test;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(share_mode, reads_the_format_of_its_service) {
  const std::string sections = "[a]\npath = /mnt/a\n";
  for (const char* mode : {"Samba", "samba", "CIFS", "cifs"}) {
    machine.file("/f", sections);
    const open_file file("/f");
    share_list list;
    EXPECT_EQ(get_share_from_mode(file.number(), list.get(), mode), ORV_OK);
    EXPECT_THAT(list.told(), ElementsAre("a||/mnt/a|samba||rw")) << mode;
  }
  machine.file("/f", "/mnt/a host(rw)\n");
  const open_file exported_to("/f");
  share_list nfs;
  EXPECT_EQ(get_share_from_mode(exported_to.number(), nfs.get(), "NFS"), ORV_OK);
  EXPECT_THAT(nfs.told(), ElementsAre("a||/mnt/a|nfs|host|rw"));
  machine.file("/f", "Target iqn.2006-05.org.orv:v.1\n");
  const open_file targets("/f");
  share_list iscsi;
  EXPECT_EQ(get_share_from_mode(targets.number(), iscsi.get(), "iscsi"), ORV_OK);
  EXPECT_THAT(iscsi.told(), ElementsAre("v.1|||iscsi||rw"));
}

TEST_F(share_mode, writes_the_file_of_its_service) {
  share_list list;
  list.add(a_share("a"));
  const open_file smb_file(smb_path);
  EXPECT_EQ(put_share_to_mode(smb_file.number(), list.get(), "cifs"), ORV_OK);
  EXPECT_EQ(smb(), offered("a"));
  const open_file exports_file(exports_path);
  EXPECT_EQ(put_share_to_mode(exports_file.number(), list.get(), "nfs"), ORV_OK);
  EXPECT_EQ(exports(), exported("a"));
  const open_file ietd_file(ietd_path);
  EXPECT_EQ(put_share_to_mode(ietd_file.number(), list.get(), "iScsi"), ORV_OK);
  EXPECT_THAT(machine.read(ietd_path), testing::StartsWith("Target iqn.2006-05.org.orv:a."));
}

TEST_F(share_mode, writes_the_recycle_file_of_its_service) {
  share_list list;
  list.add(a_share("a"));
  for (const char* mode : {"SAMBA", "cifs"}) {
    machine.file(smb_recy_path, "");
    const open_file smb_file(smb_recy_path);
    EXPECT_EQ(put_share_to_mode_recy(smb_file.number(), list.get(), mode), ORV_OK);
    EXPECT_EQ(machine.read(smb_recy_path), parked("a"));
  }
  const open_file exports_file(exports_recy_path);
  EXPECT_EQ(put_share_to_mode_recy(exports_file.number(), list.get(), "Nfs"), ORV_OK);
  EXPECT_EQ(machine.read(exports_recy_path), exported("a"));
}

TEST_F(share_mode, does_nothing_without_a_file_a_word_or_a_row) {
  machine.file("/f", "[a]\n");
  const open_file file("/f");
  share_list list;
  for (const char* mode : {static_cast<const char*>(nullptr), "", "none", "ftp"}) {
    EXPECT_EQ(get_share_from_mode(file.number(), list.get(), mode), ORV_OK);
    EXPECT_EQ(put_share_to_mode(file.number(), list.get(), mode), ORV_OK);
    EXPECT_EQ(put_share_to_mode_recy(file.number(), list.get(), mode), ORV_OK);
  }
  EXPECT_EQ(put_share_to_mode_recy(file.number(), list.get(), "iscsi"), ORV_OK);
  EXPECT_EQ(get_share_from_mode(-1, list.get(), "samba"), ORV_OK);
  EXPECT_EQ(put_share_to_mode(-1, list.get(), "samba"), ORV_OK);
  EXPECT_EQ(put_share_to_mode_recy(-1, list.get(), "samba"), ORV_OK);
  EXPECT_EQ(get_share_from_ftp(-1, nullptr), ORV_OK);
  EXPECT_EQ(put_share_to_ftp(-1, nullptr), ORV_OK);
  EXPECT_EQ(machine.read("/f"), "[a]\n");
  EXPECT_THAT(list.told(), IsEmpty());
}

TEST_F(share_mode, gives_what_its_reader_and_writer_give) {
  machine.file("/f", "[ab\n");
  share_list list;
  const open_file file("/f");
  EXPECT_EQ(get_share_from_mode(file.number(), list.get(), "samba"), ORV_E_SHARE_SYNTAX);
  const open_file readable("/f", O_RDONLY);
  EXPECT_EQ(put_share_to_mode(readable.number(), list.get(), "nfs"), ORV_E_SHARE_WRITE);
  EXPECT_EQ(put_share_to_mode_recy(readable.number(), list.get(), "nfs"), ORV_E_SHARE_WRITE);
}
