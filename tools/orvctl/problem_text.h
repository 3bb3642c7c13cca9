#ifndef ORVCTL_PROBLEM_TEXT_H
#define ORVCTL_PROBLEM_TEXT_H

#include <string>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/table.h"

namespace orvctl {

/// A problem as the "error" of a JSON document.
/// @param command  that met it, such as "raid create"; may be empty
json problem_object(const std::string& command, const problem& found);

/// The same for people.
std::string problem_text(const std::string& command, const problem& found);

}  // namespace orvctl

#endif
