#ifndef ORVCTL_DRY_RUN_H
#define ORVCTL_DRY_RUN_H

#include <functional>

#include "tools/orvctl/session.h"

namespace orvctl {

/// Rehearses a changing command in a process of its own and shows what it would do. Its checks are
/// made: one that fails ends the command as it would without --dry-run.
void show_plan_of(session& run, const std::function<void(session&)>& action);

}  // namespace orvctl

#endif
