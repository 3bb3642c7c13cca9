#ifndef ORVCTL_QUIET_OUTPUT_H
#define ORVCTL_QUIET_OUTPUT_H

#include <functional>

namespace orvctl {

/// Makes a call of the library of which nothing is seen that it and its tools print on standard
/// output: the changes of users print the passwords of all of them.
/// @return what the call returns
int without_output(const std::function<int()>& call);

/// Makes a call of the library, and shows what its tools say on standard error only when it fails:
/// smbstatus tells there that no file is locked, which is no news.
/// @return what the call returns
int without_notes(const std::function<int()>& call);

}  // namespace orvctl

#endif
