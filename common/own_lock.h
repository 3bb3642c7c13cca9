#ifndef ORV_COMMON_OWN_LOCK_H
#define ORV_COMMON_OWN_LOCK_H

#include <string_view>

#include "common/handles.h"

namespace orv {

/// Keeps processes and threads that use this library from changing one file at the same time where
/// no documented lock does: the mount table, the user file, the FTP configuration, the host name.
/// Each of them reads the file, changes what it read, and puts it back.
///
/// It harms no one: the lock (`flock`) is on an empty file of its own, "/var/lib/orv/lock/NAME", so
/// that nobody else's lock is met or lost, it goes with the process that holds it, and where it
/// cannot be made the change goes on without it. It is given back at the end even when a child that
/// another thread forked meanwhile still has the file open.
class own_lock {
 public:
  /// Waits for the lock, at most ten seconds.
  explicit own_lock(std::string_view name);
  /// Leaves `errno` as it is.
  ~own_lock();
  own_lock(const own_lock&) = delete;
  own_lock& operator=(const own_lock&) = delete;

  /// False, with `errno`, when another one kept the lock all the time: change nothing then.
  explicit operator bool() const { return !is_refused_; }

 private:
  unique_descriptor file_;
  bool is_refused_ = false;
};

}  // namespace orv

#endif
