#ifndef ORVCTL_PASSWORD_H
#define ORVCTL_PASSWORD_H

#include <string>

#include "tools/orvctl/session.h"

/// Passwords are typed at a terminal that does not show them, or are a line of standard input. They
/// are never arguments, which every process may read.

namespace orvctl {

/// Asks for a password.
std::string read_password(const session& run, const std::string& prompt);

/// Asks for a password that is to be set: twice at a terminal. One that is empty, or too long for
/// the library, ends the command.
std::string read_new_password(const session& run, const std::string& user);

}  // namespace orvctl

#endif
