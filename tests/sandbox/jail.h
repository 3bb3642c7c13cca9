/// The walls of the machine: mount namespace, tmpfs and chroot.
#pragma once

#include <string>

namespace sandbox {

/// Gives this process mounts of its own, once, while it has a single thread. An ordinary user
/// becomes root of a user namespace. Throws when the kernel refuses.
void leave_host();

/// Whether this process runs for an ordinary user, who can map nobody else into the namespace.
bool only_one_user();

/// From construction to destruction the process's root directory is a fresh machine.
class jail {
 public:
  jail();
  ~jail();
  jail(const jail&) = delete;
  jail& operator=(const jail&) = delete;

 private:
  void furnish() const;
};

/// Opens a file or directory of the real machine from within the fake one. -1 with errno.
int open_on_host(const std::string& path, int flags);

}  // namespace sandbox
