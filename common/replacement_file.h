#ifndef ORV_COMMON_REPLACEMENT_FILE_H
#define ORV_COMMON_REPLACEMENT_FILE_H

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <utility>

namespace orv {

/// The new content of a file, written beside it and then moved into its place. The temporary file
/// is made when the object is made and removed when it goes out of scope.
class replacement_file {
 public:
  /// @param path_template  path that ends in "XXXXXX"
  explicit replacement_file(std::string path_template);
  /// @param create  creates and opens the file at the path; -1 when it cannot. Nothing that takes
  ///                memory comes between that and its closing and removal by this object.
  replacement_file(std::string path, int (*create)(const std::string& path))
      : path_(std::move(path)), file_(create(path_)) {}
  ~replacement_file();
  replacement_file(const replacement_file&) = delete;
  replacement_file& operator=(const replacement_file&) = delete;

  /// False when the file could not be made; `errno` says why.
  bool exists() const { return file_ >= 0; }
  const std::string& path() const { return path_; }

  /// Appends a text; false, with `errno`, when it was not written whole.
  bool write(std::string_view text) const;

  /// Gives the file owner and mode of the one that it replaces; false, with `errno`, when that
  /// failed.
  bool adopt(const struct stat& original) const;

  /// Brings the file to the disk; false, with `errno`, when that failed.
  bool sync() const;

  /// Both, in this order.
  bool complete(const struct stat& original) const { return adopt(original) && sync(); }

  /// Leaves the name alone from here on: the file was moved, or stays.
  void leave() { leave_ = true; }

 private:
  std::string path_;
  int file_;
  bool leave_ = false;
};

}  // namespace orv

#endif
