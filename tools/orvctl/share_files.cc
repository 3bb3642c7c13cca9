#include "tools/orvctl/share_files.h"

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

constexpr char shares_path[] = "/etc/sharefolder.conf";
constexpr char samba_path[] = "/etc/samba/smb.conf";
constexpr char nfs_path[] = "/etc/exports";
constexpr char iscsi_path[] = "/etc/ietd.conf";
constexpr char samba_recycle_path[] = "/etc/samba/smb_recy.conf";
constexpr char nfs_recycle_path[] = "/etc/exports_recy";

bool is_locked(int result) {
  return result == ORV_E_FILE_LOCKED || result == ORV_E_SHARES_LOCKED ||
         result == ORV_E_SERVICE_LOCKED;
}

/// A share file, locked as long as this exists.
class locked_file {
 public:
  explicit locked_file(const std::function<int()>& lock) : file_(with_patience(lock)) {
    if (file_ < 0) throw library_problem(file_);
  }
  ~locked_file() {
    unlock_file(file_);
    ::close(file_);
  }
  locked_file(const locked_file&) = delete;
  locked_file& operator=(const locked_file&) = delete;

  int descriptor() const { return file_; }

 private:
  int file_;
};

int lock_service(const std::string& service) {
  int file = ORV_E_SHARE_MODE;
  lock_modefile(file, service.c_str());
  return file;
}

// A file that is missing has no shares; a lock would make it.
void read_file(share_list& shares, const char* path, int (*read)(int, tag_shareconf_list*)) {
  if (::access(path, F_OK) != 0) return;
  const locked_file file([path] { return lock_sharefile(path); });
  check(read(file.descriptor(), shares.get()));
}

// The service's file says which exports are read-only, but its reader does not.
void read_rights(share_list& exports) {
  std::vector<std::string> clients;
  for (const tag_share_config& share : exports) clients.emplace_back(share.valid_users);
  check(get_shareinfo_from_exportfs(exports.get()));
  auto kept = clients.begin();
  for (tag_share_config& share : exports) {
    liborv_strncpy(share.valid_users, sizeof share.valid_users, (kept++)->c_str());
  }
}

std::string text_of(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string plain_name(const tag_share_config& share) {
  const std::string name = share.name;
  return std::string(share.service) == "iscsi" ? name.substr(0, name.find('.')) : name;
}

}  // namespace

int with_patience(const std::function<int()>& attempt) {
  constexpr int attempts = 20;
  constexpr std::chrono::milliseconds pause(50);
  int result = attempt();
  for (int i = 1; i < attempts && is_locked(result); ++i) {
    std::this_thread::sleep_for(pause);
    result = attempt();
  }
  return result;
}

void read_listed(share_list& shares) { read_file(shares, shares_path, get_share_from_conf); }

void read_service(share_list& shares, const std::string& service) {
  if (service == "ftp") return;
  {
    const locked_file file([&] { return lock_service(service); });
    check(get_share_from_mode(file.descriptor(), shares.get(), service.c_str()));
  }
  if (service == "nfs") read_rights(shares);
}

void read_parked(share_list& shares) {
  read_file(shares, samba_recycle_path, get_share_from_smb);
  read_file(shares, nfs_recycle_path, get_share_from_nfs);
}

std::vector<std::string> complete_share_files() {
  std::vector<std::string> completed;
  std::optional<problem> refused;
  for (const char* path :
       {shares_path, samba_path, samba_recycle_path, nfs_path, nfs_recycle_path, iscsi_path}) {
    if (::access(path, F_OK) != 0) continue;
    const std::string found = text_of(path);
    try {
      const locked_file file([path] { return lock_sharefile(path); });
      if (text_of(path) != found) completed.emplace_back(path);
    } catch (problem& of_this_file) {
      if (!refused) refused = of_this_file;
      refused->detail += (refused->detail.empty() ? "" : ", ") + std::string(path);
    }
  }
  if (!refused) return completed;
  if (!completed.empty()) refused->detail += "; put together again:";
  for (const std::string& path : completed) refused->detail += ' ' + path;
  throw problem(*refused);
}

const tag_share_config* find_share(const share_list& shares, const std::string& name) {
  for (const tag_share_config& share : shares) {
    if (name == share.name || name == plain_name(share)) return &share;
  }
  return nullptr;
}

void keep_read_only(const share_list& before, const tag_share_config& changed) {
  std::set<std::string> read_only;
  for (const tag_share_config& share : before) {
    if (share.writable == 0) read_only.insert(share.path);
  }
  read_only.erase(changed.path);
  if (changed.writable == 0) read_only.insert(changed.path);
  if (read_only.empty()) return;
  share_list now;
  const locked_file file([] { return lock_service("nfs"); });
  check(get_share_from_mode(file.descriptor(), now.get(), "nfs"));
  for (tag_share_config& share : now) share.writable = read_only.count(share.path) == 0 ? 1 : 0;
  check(put_share_to_mode(file.descriptor(), now.get(), "nfs"));
}

}  // namespace orvctl
