#ifndef ORV_SHARE_SHARE_CHANGE_H
#define ORV_SHARE_SHARE_CHANGE_H

#include <orv/share.h>

#include <array>
#include <optional>
#include <string>

#include "common/families.h"
#include "share/share_mode.h"

/// What every change of shares is made of: files that stay locked from the first one read to the
/// last one written.
///
///     locked_files locks;
///     share_file shares(&sharefolder, locks);
///     int result = shares.open(ORV_E_SHARES_LOCKED);
///     ... change shares.list() ...
///     if (shares.write() != ORV_OK) return ORV_E_SHARES_WRITE;

namespace orv {

/// The files locked by one change; released when it goes out of scope, in the order in which they
/// were taken. `errno` stays as it is.
///
/// This process must not open and close one of these files by any other way meanwhile: the kernel
/// would drop the lock.
class locked_files {
 public:
  locked_files() = default;
  ~locked_files();
  locked_files(const locked_files&) = delete;
  locked_files& operator=(const locked_files&) = delete;

  /// Locks a file. @return its descriptor, or a negative code of `lock_sharefile`
  int lock(const char* path);

 private:
  std::array<int, 3> files_{};
  std::size_t count_ = 0;
};

/// One share file of a change.
class share_file {
 public:
  /// @param row    NULL for a service that is not known
  /// @param locks  hold the file's lock; outlive this object
  share_file(const share_mode* row, locked_files& locks) : row_(row), locks_(locks) {}

  /// True for a service that is known and keeps no file.
  bool has_no_file() const { return row_ != nullptr && row_->path == nullptr; }

  /// Locks the file and reads its shares.
  /// @return ORV_OK; `not_locked`, also for a service without a file; ORV_E_SHARES_READ
  int open(int not_locked);
  /// Rewrites an open file. @return the result of its writer
  int write() { return row_->write(file_, shares_.get()); }

  tag_shareconf_list* list() { return shares_.get(); }

 private:
  const share_mode* row_;
  locked_files& locks_;
  scoped_list<tag_shareconf_list> shares_;
  int file_ = -1;
};

/// True for a record that asks for something: it has a name, and one that Samba has no other use
/// for.
bool is_request(const tag_share_config* share);

/// A request under the name by which the share files know the share.
tag_share_config as_stored(const tag_share_config& share);

/// Gives the shares of a list the names by which the share files know them: what was exported as
/// "/mnt/a=b" is the share "a b" of "/etc/sharefolder.conf".
void store_names(tag_shareconf_list* list);

/// A request for a share out of use, which is listed without a service.
struct parking_request {
  tag_share_config share;  ///< as stored, without its service
  std::string service;     ///< the word that it had
};

/// Clears a record's service, before all else.
/// @return the request; nothing for a record that asks for nothing
std::optional<parking_request> take_request(tag_share_config* share);

/// Logs a result that is not ORV_OK. @return the result
int finish(int result, const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

}  // namespace orv

#endif
