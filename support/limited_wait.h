#ifndef ORV_SUPPORT_LIMITED_WAIT_H
#define ORV_SUPPORT_LIMITED_WAIT_H

#include <sys/types.h>

namespace orv::support {

/// How a child ended.
struct ending {
  int status;              ///< wait status; -1: it cannot be waited for, and `errno` says why
  bool was_ended = false;  ///< it took too long
};

/// Waits for a child that leads a process group of its own. When it takes longer than the limit,
/// the group is ended: SIGTERM, two seconds of grace or less when all are gone before, SIGKILL for
/// what is left. The status is then that of a process ended by a signal, whatever the child made of
/// it. One that even SIGKILL does not end, since it waits for a device, is left alone after a
/// second.
ending wait_at_most(pid_t child, unsigned seconds);

}  // namespace orv::support

#endif
