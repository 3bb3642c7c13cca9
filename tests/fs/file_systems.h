#ifndef ORV_TESTS_FS_FILE_SYSTEMS_H
#define ORV_TESTS_FS_FILE_SYSTEMS_H

#include <orv/fs.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/sandbox/sandbox.h"

/// A list of file system records that a test owns.
class fs_list {
 public:
  fs_list() { fs_list_init(&list_); }
  ~fs_list() { fs_list_fini(&list_); }
  fs_list(const fs_list&) = delete;
  fs_list& operator=(const fs_list&) = delete;

  tag_fsinfo_list* get() { return &list_; }

  /// Appends a record as a program that uses the library does.
  tag_fs_info& add(const std::string& device, const std::string& mountpoint) {
    auto* const fs = static_cast<tag_fs_info*>(std::malloc(sizeof(tag_fs_info)));
    fs_conf_init(fs);
    device.copy(fs->devname, sizeof fs->devname - 1);
    mountpoint.copy(fs->mountpoint, sizeof fs->mountpoint - 1);
    list_node& anchor = list_.list;
    fs->list = {&anchor, anchor.prev};
    anchor.prev->next = &fs->list;
    anchor.prev = &fs->list;
    return *fs;
  }

  std::vector<tag_fs_info*> records() {
    std::vector<tag_fs_info*> all;
    for (list_node* node = list_.list.next; node != &list_.list; node = node->next) {
      char* const link = reinterpret_cast<char*>(node);
      all.push_back(reinterpret_cast<tag_fs_info*>(link - offsetof(tag_fs_info, list)));
    }
    return all;
  }

  /// The only record.
  tag_fs_info& only() {
    EXPECT_EQ(records().size(), 1U);
    return *records().at(0);
  }

 private:
  tag_fsinfo_list list_;
};

/// A machine of the model KTA7120X.
class fs_test : public sandbox_test {
 protected:
  static constexpr char table_path[] = "/etc/mdfstab";
  static constexpr char kept_table_path[] = "/var/lib/orv/kept/etc/mdfstab";

  fs_test() { model("KTA7120X"); }

  void model(const std::string& name) {
    machine.file("/etc/sys_info", "[product]\ntype=" + name + "\n");
  }
  void table(std::string_view text, mode_t mode = 0644) { machine.file(table_path, text, mode); }
  std::string table() { return machine.read(table_path); }
  bool is_committed() {
    return machine.exists(kept_table_path) && machine.read(kept_table_path) == table();
  }

  /// What mdfstab_get makes of a table, one "DEVICE|MOUNT POINT|TYPE|GROUP" for each record.
  sandbox::lines read_back() {
    fs_list list;
    EXPECT_EQ(mdfstab_get(list.get()), ORV_OK);
    sandbox::lines found;
    for (const tag_fs_info* fs : list.records()) {
      found.push_back(std::string(fs->devname) + '|' + fs->mountpoint + '|' + fs->fstype + '|' +
                      fs->vgname);
    }
    return found;
  }
  sandbox::lines read_back(std::string_view text) {
    table(text);
    return read_back();
  }
};

#endif
