#ifndef ORVCTL_SYSTEM_LOG_H
#define ORVCTL_SYSTEM_LOG_H

#include <cstddef>
#include <string>
#include <vector>

namespace orvctl {

/// The last lines that the library wrote to the system log. Of a line that may hold a password only
/// the beginning is there.
std::vector<std::string> last_log_lines(std::size_t most);

}  // namespace orvctl

#endif
