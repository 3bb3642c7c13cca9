#include "tools/orvctl/kept_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

namespace fs = std::filesystem;

constexpr char root[] = "/var/lib/orv/kept";

problem not_ours(const std::string& path, const std::string& why) {
  problem found = library_problem(ORV_E_FAILED, path + " " + why);
  found.meaning = "these copies are not the library's own";
  found.advice = "look who made '" + std::string(root) + "' what it is; nothing was changed";
  return found;
}

problem unreadable(const std::string& path) {
  problem found = library_problem(ORV_E_FAILED, path + ": " + std::strerror(errno));
  found.meaning = "a file cannot be read";
  found.advice = "run orvctl as root, and see that the file is a regular one";
  return found;
}

// Whoever may write there could hand over any file as a copy.
bool root_is_there() {
  struct stat found {};
  if (::lstat(root, &found) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return false;
    throw unreadable(root);
  }
  if (!S_ISDIR(found.st_mode)) throw not_ours(root, "is no directory");
  if (found.st_uid != ::geteuid() && found.st_uid != 0) throw not_ours(root, "has another owner");
  if ((found.st_mode & (S_IWGRP | S_IWOTH)) != 0) throw not_ours(root, "can be written by others");
  return true;
}

std::string content_of(int file, const std::string& path) {
  std::string content;
  char part[16384];
  for (;;) {
    const ssize_t got = ::read(file, part, sizeof part);
    if (got == 0) return content;
    if (got < 0 && errno != EINTR) throw unreadable(path);
    if (got > 0) content.append(part, static_cast<std::size_t>(got));
  }
}

// Nothing that is no file may keep this waiting.
file_text read_file(const std::string& path) {
  file_text read;
  const int file = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) {
    if (errno == ENOENT || errno == ENOTDIR) return read;
    throw unreadable(path);
  }
  try {
    if (::fstat(file, &read.status) != 0) throw unreadable(path);
    if (!read.is_there()) throw not_ours(path, "is no regular file");
    read.content = content_of(file, path);
  } catch (...) {
    ::close(file);
    throw;
  }
  ::close(file);
  return read;
}

// A file in use may be a link to elsewhere: that is read, and never restored.
file_text read_in_use(const std::string& path) {
  std::error_code none;
  const fs::path target = fs::canonical(path, none);
  return none ? file_text{} : read_file(target);
}

kept_file read_kept(const std::string& path) {
  return {path, read_file(root + path), read_in_use(path)};
}

std::vector<std::string> kept_paths() {
  std::vector<std::string> paths;
  try {
    for (const fs::directory_entry& each : fs::recursive_directory_iterator(root)) {
      if (each.is_symlink() || !each.is_regular_file()) continue;
      paths.push_back(each.path().string().substr(std::strlen(root)));
    }
  } catch (const fs::filesystem_error& error) {
    errno = error.code().value();
    throw unreadable(error.path1());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

bool exists(const std::string& path) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) == 0) return true;
  if (errno == EACCES) throw unreadable(path);
  return false;
}

bool is_usable(const std::string& path) {
  return path.starts_with('/') && !path.ends_with('/') &&
         fs::path(path).lexically_normal().string() == path;
}

// A link on the way would lead out of the folder.
bool is_below_root(const std::string& path) {
  std::error_code none;
  return fs::canonical(root + path, none) == fs::canonical(root, none).string() + path;
}

}  // namespace

const char* kept_file::state() const {
  if (!in_use.is_there()) return "missing";
  return in_use.content == copy.content ? "same" : "differs";
}

std::vector<kept_file> kept_files() {
  std::vector<kept_file> files;
  if (!root_is_there()) return files;
  for (const std::string& path : kept_paths()) files.push_back(read_kept(path));
  return files;
}

kept_file kept_file_of(const std::string& path) {
  if (!is_usable(path)) {
    throw usage_problem("'" + path + "' is not an absolute path without '.', '..' and '//'",
                        "name a file as 'orvctl conf list' shows it");
  }
  const bool is_kept = root_is_there() && exists(root + path);
  if (is_kept && !is_below_root(path)) throw not_ours(root + path, "is a link");
  kept_file found;
  if (is_kept) found = read_kept(path);
  if (found.copy.is_there()) return found;
  problem missing = library_problem(ORV_E_FAILED, path);
  missing.status = exit_status::not_found;
  missing.code.reset();
  missing.name = "not_kept";
  missing.meaning = "there is no kept copy of this file";
  missing.advice = "run 'orvctl conf list' to see the copies";
  throw missing;
}

}  // namespace orvctl
