#ifndef ORVCTL_USER_LISTS_H
#define ORVCTL_USER_LISTS_H

#include <string>
#include <vector>

#include "tools/orvctl/share_files.h"

namespace orvctl {

/// Gives the shares of a service their user lists back, which `share_add` takes from all but the
/// added one. A share whose list cannot be given back ends the command, after all were tried: the
/// problem says which lists are lost and what they were.
/// @param before  the service's shares before `share_add`
/// @return names of the shares that have their lists back
std::vector<std::string> give_user_lists_back(const std::string& service, const share_list& before);

}  // namespace orvctl

#endif
