#ifndef ORVCTL_ACCOUNTS_H
#define ORVCTL_ACCOUNTS_H

#include <string>

/// Questions before a user is changed: the library takes what it is given, the accounts of the
/// system among it, and undoes nothing.

namespace orvctl {

/// Whether the user file has this user.
bool is_user(const std::string& name);
/// Ends the command unless it does.
void must_be_user(const std::string& name);
/// Ends the command unless this is a user, or an account that was left when a user could not be
/// added; the system's own accounts are neither.
void must_be_removable(const std::string& name);
/// Ends the command when an account or a group has this name.
void must_be_free(const std::string& name);

}  // namespace orvctl

#endif
