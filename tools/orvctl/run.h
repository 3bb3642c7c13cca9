#ifndef ORVCTL_RUN_H
#define ORVCTL_RUN_H

#include "tools/orvctl/session.h"

namespace orvctl {

/// Runs one command line. @return the exit status
int run(int argc, const char* const* argv, const streams& io);

}  // namespace orvctl

#endif
