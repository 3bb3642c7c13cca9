#ifndef ORVCTL_IMITATION_H
#define ORVCTL_IMITATION_H

#include <string>

namespace orvctl {

/// Does to this process's private "/etc" what a command line would do there, as far as the library
/// builds on it: "mv" puts a file in its place, "adduser" and "userdel" change the account files.
/// Other command lines have no effect on settings.
void imitate(const std::string& command);

}  // namespace orvctl

#endif
