#ifndef ORVCTL_REHEARSAL_H
#define ORVCTL_REHEARSAL_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/orvctl/plan.h"

namespace orvctl {

/// From construction on this process, which has private folders, only rehearses: the library's
/// command lines that change something, and its calls of the system, are noted in the plan and
/// succeed, and only questions are asked. It lasts until the process ends.
void rehearse(plan& noted);

/// Whether a command line of the library only asks, and so is run also in a rehearsal.
bool only_asks(std::string_view command);

}  // namespace orvctl

#endif
