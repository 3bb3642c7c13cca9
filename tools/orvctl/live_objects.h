#ifndef ORVCTL_LIVE_OBJECTS_H
#define ORVCTL_LIVE_OBJECTS_H

#include <string>
#include <vector>

namespace orvctl {

/// What the machine has now, by name. A list that cannot be read has nothing.
std::vector<std::string> names_of_arrays();
std::vector<std::string> names_of_groups();
/// @param group  of the pools; empty for those of all groups
std::vector<std::string> names_of_pools(const std::string& group);
std::vector<std::string> mount_points();
std::vector<std::string> names_of_shares();
std::vector<std::string> names_of_users();
std::vector<std::string> paths_of_kept_files();
/// @param enclosure  of the disks
std::vector<std::string> channels(const std::string& enclosure);
std::vector<std::string> names_of_disks();

}  // namespace orvctl

#endif
