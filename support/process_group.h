#ifndef ORV_SUPPORT_PROCESS_GROUP_H
#define ORV_SUPPORT_PROCESS_GROUP_H

#include <sys/types.h>

#include <optional>
#include <string_view>

namespace orv::support {

/// What "/proc/NUMBER/stat" tells of a process.
struct process_state {
  pid_t group;
  bool is_alive;  ///< false for one that has ended and that its parent has not asked for yet
};

/// Reads the text of "/proc/NUMBER/stat". @return nothing when it is no such text
std::optional<process_state> process_state_of(std::string_view stat);

/// Whether every process of the group has ended. False when "/proc" does not tell.
bool has_ended(pid_t group);

}  // namespace orv::support

#endif
