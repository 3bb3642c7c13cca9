#ifndef ORV_WATCH_SUBJECTS_H
#define ORV_WATCH_SUBJECTS_H

#include "watch.h"

// How the daemon sees what it watches: one reader for each kind, for class watch.

/// Level, state and members of every array.
orv::result read_arrays(states& now);
/// What raised every alarm, and its description.
orv::result read_alarms(states& now);
/// Whether every file system of the mount table is there, and whether it is nearly full.
orv::result read_file_systems(states& now);

#endif
