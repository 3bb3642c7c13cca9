// What report.sh and report.py tell, by the library: one line for each record.
#include <fcntl.h>
#include <orv/scoped.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using std::printf;
using number = unsigned long long;

/// Standard output is nowhere meanwhile: the library says there what it cannot measure.
class silence {
 public:
  silence() : output_(dup(STDOUT_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
  ~silence() {
    std::fflush(stdout);
    dup2(output_, STDOUT_FILENO);
    close(output_);
  }
  silence(const silence&) = delete;
  silence& operator=(const silence&) = delete;

 private:
  int output_;
};

template <class List, class Getter>
void read(List& list, Getter getter) {
  const silence meanwhile;
  orv::check(list.read(getter));
}

template <class List, class Getter, class Show>
void report(Getter getter, Show show) {
  List list;
  read(list, getter);
  for (const auto& record : list) show(record);
}

/// "sda,sdb", in the order of the names.
std::string sorted(std::string members) {
  std::vector<std::string> names;
  for (char* name = std::strtok(members.data(), ","); name != nullptr;
       name = std::strtok(nullptr, ",")) {
    names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

void report_disks() {
  report<orv::disk_list>(disks_info_get, [](const tag_disk_info& disk) {
    printf("%s %d %s %llu %s %s\n", disk.name, disk.ch, disk.enclosure, number{disk.size},
           disk.state, disk.hotspare == 1 ? "spare" : "-");
  });
}

void report_arrays() {
  report<orv::array_list>(raid_get, [](const tag_md_info& array) {
    printf("%s %s %llu %s %s\n", array.name, array.level, number{array.size}, array.state,
           sorted(array.disks).c_str());
  });
}

void report_groups() {
  report<orv::volume_group_list>(vg_get, [](const tag_vg_info& group) {
    std::string volumes;
    for (const tag_pv_info& volume : orv::records(group.pvs)) {
      volumes += std::string(" ") + volume.pvname;
    }
    printf("%s %llu %llu%s\n", group.vgname, number{group.size}, number{group.used},
           volumes.c_str());
  });
}

void report_pools() {
  report<orv::pool_list>(pool_get, [](const tag_pool_info& pool) {
    printf("%s %s %llu %s\n", pool.poolname, pool.vgname, number{pool.size}, pool.state);
  });
}

void report_file_systems() {
  report<orv::file_system_list>(fs_get, [](const tag_fs_info& fs) {
    printf("%s %s %s %llu %llu\n", fs.mountpoint, fs.devname, fs.state, number{fs.size},
           number{fs.used});
  });
}

void report_shares() {
  report<orv::share_list>(share_get, [](const tag_share_config& share) {
    printf("%s %s %s %s\n", share.name, share.service, share.path, share.valid_users);
  });
}

constexpr struct {
  const char* name;
  void (*report)();
} subjects[] = {{"disks", report_disks},
                {"arrays", report_arrays},
                {"groups", report_groups},
                {"pools", report_pools},
                {"filesystems", report_file_systems},
                {"shares", report_shares}};

}  // namespace

int main(int count, char** words) {
  for (const auto& subject : subjects) {
    if (count == 2 && std::strcmp(words[1], subject.name) == 0) {
      subject.report();
      return EXIT_SUCCESS;
    }
  }
  return EXIT_FAILURE;
}
