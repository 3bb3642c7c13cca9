#ifndef ORVCTL_CONFIRM_H
#define ORVCTL_CONFIRM_H

#include <functional>
#include <string>

#include "tools/orvctl/session.h"

namespace orvctl {

/// Why most commands ask.
inline constexpr char destroys_data[] = "this destroys data";

/// Ends a command that asks, before it has run anything, when neither --yes was given nor anybody
/// can be asked.
void must_be_answerable(const session& run, const char* reason = destroys_data);

/// Asks before data is lost, unless --yes was given. Anything but "y" or "yes" ends the command.
/// @param warning  one sentence
/// @param losses   finds what would be lost; runs only when there is a question to ask
void confirm(const session& run, const std::string& warning, const std::function<table()>& losses,
             const char* reason = destroys_data);

}  // namespace orvctl

#endif
