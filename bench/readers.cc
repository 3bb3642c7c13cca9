// The configuration files with 10,000 entries, against two readers of INI files. A file in another
// format is compared with an INI file of as many bytes.
#include <fcntl.h>
#include <glib.h>
#include <ini.h>
#include <orv/scoped.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "bench/appliance.h"
#include "bench/machine.h"
#include "bench/row.h"

namespace bench {
namespace {

constexpr int entries = 10'000;
constexpr char ini_path[] = "/tmp/same_size.ini";

/// @return the number of records
template <int (*Reader)(int, tag_shareconf_list*)>
std::size_t read_shares(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  orv::share_list shares;
  orv::check(shares.read([file](tag_shareconf_list* list) { return Reader(file, list); }));
  close(file);
  return shares.size();
}

template <auto Getter, class List>
std::size_t read_list(const char* /*path*/) {
  List list;
  orv::check(list.read(Getter));
  return list.size();
}

struct reader {
  const char* name;
  const char* path;
  std::size_t (*read)(const char* path);
  bool is_ini;
  std::size_t record_size;
};

constexpr std::size_t share_size = sizeof(tag_share_config);

constexpr reader readers[] = {
    {"sharefolder.conf", "/etc/sharefolder.conf", read_shares<get_share_from_conf>, true,
     share_size},
    {"sharefolder.conf of share_get", "/etc/sharefolder.conf",
     read_list<get_shareinfo_from_shareconf, orv::share_list>, true, share_size},
    {"smb.conf", "/etc/samba/smb.conf", read_shares<get_share_from_smb>, true, share_size},
    {"exports", "/etc/exports", read_shares<get_share_from_nfs>, false, share_size},
    {"ietd.conf", "/etc/ietd.conf", read_shares<get_share_from_ietd>, false, share_size},
    {"mdfstab", "/etc/mdfstab", read_list<mdfstab_get, orv::file_system_list>, false,
     sizeof(tag_fs_info)},
    {"user file", "/etc/nas_userfile.conf", read_list<sys_user_get, orv::user_list>, false,
     sizeof(tag_user_info)},
};

std::string ini_of_size(std::size_t size) {
  std::string text;
  for (int section = 0; text.size() < size; ++section) {
    const std::string number = std::to_string(section);
    text += "[share" + number + "]\n    comment = what the people of room " + number +
            " share\n    path = /mnt/pool" + number + "/share\n    writable = yes\n";
  }
  // The rest of the last line that does not fit is a remark.
  text.resize(text.rfind('\n', size - 2) + 1);
  return text + std::string(size - text.size() - 1, '#') + '\n';
}

/// Each entry is one of the file's own service.
void write_configuration(const reader& measured) {
  const std::string path = measured.path;
  const int shares_of_all_services = 3 * entries;
  const bool is_of_all = path == "/etc/exports" || path == "/etc/ietd.conf";
  set_shares(is_of_all ? shares_of_all_services : entries,
             is_of_all ? services::mixed : services::samba);
  if (path == "/etc/mdfstab") set_mount_table(entries);
  if (path == "/etc/nas_userfile.conf") set_users(entries);
  write_file(ini_path, measured.is_ini ? read_file(path) : ini_of_size(read_file(path).size()));
}

void read_every_entry(const reader& measured) {
  if (measured.read(measured.path) != entries) throw std::runtime_error("not every entry is read");
}

void read_by_glib() {
  GKeyFile* const file = g_key_file_new();
  if (g_key_file_load_from_file(file, ini_path, G_KEY_FILE_NONE, nullptr) == FALSE) {
    throw std::runtime_error("GKeyFile");
  }
  g_key_file_free(file);
}

int take(void* count, const char* /*section*/, const char* /*name*/, const char* /*value*/) {
  ++*static_cast<int*>(count);
  return 1;
}

void read_by_inih() {
  int settings = 0;
  if (ini_parse(ini_path, take, &settings) != 0) throw std::runtime_error("inih");
}

/// What a program keeps that reads such a file: a record for each section, and the values in it.
class kept_sections {
 public:
  explicit kept_sections(std::size_t record_size) : size_(record_size) {}
  ~kept_sections() {
    for (char* const record : records_) std::free(record);
  }
  kept_sections(const kept_sections&) = delete;
  kept_sections& operator=(const kept_sections&) = delete;

  static int take(void* kept, const char* section, const char* /*name*/, const char* value) {
    return static_cast<kept_sections*>(kept)->add(section, value) ? 1 : 0;
  }

 private:
  bool add(const char* section, const char* value) {
    if (records_.empty() || section_ != section) {
      section_ = section;
      auto* const record = static_cast<char*>(std::malloc(size_));
      if (record == nullptr) return false;
      std::memset(record, 0, size_);
      records_.push_back(record);
      used_ = 0;
    }
    const std::size_t length = std::min(std::strlen(value), size_ - 1 - used_);
    std::memcpy(records_.back() + used_, value, length);
    used_ += length;
    return true;
  }

  std::size_t size_;
  std::size_t used_ = 0;
  std::string section_;
  std::vector<char*> records_;
};

void read_by_inih_into_records(std::size_t record_size) {
  kept_sections kept(record_size);
  if (ini_parse(ini_path, kept_sections::take, &kept) != 0) throw std::runtime_error("inih");
}

}  // namespace

void add_readers(rows& all) {
  constexpr char limit[] = "filling the records: each is cleared, filled and released";
  for (const reader& measured : readers) {
    const auto prepare = [measured] { write_configuration(measured); };
    const side ours = time_of([measured] { read_every_entry(measured); });
    const std::string name = std::string(measured.name) + ", 10,000 entries";
    all.push_back(
        {name + ", GKeyFile", "GKeyFile", 0.5, limit, prepare, ours, time_of(read_by_glib), 31});
    const side inih_with_records =
        time_of([measured] { read_by_inih_into_records(measured.record_size); });
    all.push_back({name + ", inih with records", "inih, a record for each section", 1.0, limit,
                   prepare, ours, inih_with_records, 31});
    all.push_back({name + ", inih", "inih, nothing kept", 1.0, limit, prepare, ours,
                   time_of(read_by_inih), 31});
  }
}

}  // namespace bench
