#include "tools/orvctl/file_tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_bytes = 64UL << 20;
constexpr std::size_t most_entries = 50'000;
/// Links among directories may lead around in a circle.
constexpr int deepest = 12;

/// Programs and the kernel's files: nobody's settings.
constexpr std::array<std::string_view, 9> no_settings = {
    "/usr/", "/lib/", "/lib64/", "/bin/", "/sbin/", "/proc/", "/sys/", "/dev/", "/run/"};

class reader {
 public:
  explicit reader(const std::string& directory) : root_(directory) { read(directory, "", 0); }
  file_tree take() { return std::move(tree_); }

 private:
  void read(const std::string& directory, const std::string& prefix, int depth) {
    std::error_code none;
    for (const fs::directory_entry& found : fs::directory_iterator(directory, none)) {
      const std::string name = found.path().filename();
      add(found.path(), prefix + name, depth);
    }
  }

  void add(const std::string& path, const std::string& key, int depth) {
    struct stat found {};
    if (::lstat(path.c_str(), &found) != 0) return;
    if (S_ISLNK(found.st_mode) && leads_to_settings(path)) ::stat(path.c_str(), &found);
    tree_entry entry{found.st_mode, found.st_uid, found.st_gid, ""};
    if (S_ISDIR(found.st_mode)) {
      if (depth == deepest) return;
      keep(key, std::move(entry));
      read(path, key + "/", depth + 1);
    } else if (S_ISLNK(found.st_mode)) {
      std::error_code none;
      entry.content = fs::read_symlink(path, none);
      keep(key, std::move(entry));
    } else if (S_ISREG(found.st_mode)) {
      must_not_exceed(static_cast<std::size_t>(found.st_size));
      std::ifstream file(path, std::ios::binary);
      if (!file) return;
      entry.content.assign(std::istreambuf_iterator<char>(file), {});
      keep(key, std::move(entry));
    }
  }

  bool leads_to_settings(const std::string& link) const {
    std::error_code error;
    const std::string target = fs::canonical(link, error);
    if (error || target.starts_with(root_ + "/")) return false;
    for (const std::string_view place : no_settings) {
      if (target.starts_with(place)) return false;
    }
    return true;
  }

  void keep(const std::string& key, tree_entry entry) {
    must_not_exceed(entry.content.size());
    bytes_ += entry.content.size();
    tree_.emplace(key, std::move(entry));
  }

  void must_not_exceed(std::size_t more) const {
    if (bytes_ + more <= most_bytes && tree_.size() < most_entries) return;
    throw library_problem(ORV_E_FAILED, root_ + " is too large for a private copy");
  }

  std::string root_;
  file_tree tree_;
  std::size_t bytes_ = 0;
};

void write_file(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (file.flush()) return;
  throw library_problem(ORV_E_FAILED, "the private copy of " + path + " cannot be written");
}

}  // namespace

file_tree read_tree(const std::string& directory) { return reader(directory).take(); }

void write_tree(const std::string& directory, const file_tree& tree) {
  for (const auto& [key, entry] : tree) {
    const std::string path = directory + "/" + key;
    if (S_ISDIR(entry.mode)) {
      ::mkdir(path.c_str(), S_IRWXU);
    } else if (S_ISLNK(entry.mode)) {
      std::error_code none;
      fs::create_symlink(entry.content, path, none);
    } else {
      write_file(path, entry.content);
    }
    // An ordinary user's namespace knows no other owners; a change of them takes modes away.
    static_cast<void>(!::lchown(path.c_str(), entry.owner, entry.group));
    if (!S_ISLNK(entry.mode)) ::chmod(path.c_str(), entry.mode & 07777U);
  }
}

}  // namespace orvctl
