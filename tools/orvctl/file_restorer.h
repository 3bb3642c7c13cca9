#ifndef ORVCTL_FILE_RESTORER_H
#define ORVCTL_FILE_RESTORER_H

#include "tools/orvctl/kept_files.h"

namespace orvctl {

/// Ends the command when the file in use is no regular file of its own, or its directory is gone.
void must_be_restorable(const kept_file& file);

/// Puts the copy in the place of the file in use, with the copy's owner and mode, in one step: who
/// opens the file sees the old or the new one, also after a crash. Waits a second for a lock that
/// another process holds on the file.
void restore(const kept_file& file);

}  // namespace orvctl

#endif
