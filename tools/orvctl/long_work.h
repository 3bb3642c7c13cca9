#ifndef ORVCTL_LONG_WORK_H
#define ORVCTL_LONG_WORK_H

#include <string>

#include "tools/orvctl/session.h"

namespace orvctl {

/// Says, before it begins, what may take long. Under --json nothing is said.
void say_what_begins(const session& run, const std::string& sentence);

}  // namespace orvctl

#endif
