#ifndef ORVCTL_ARRAY_WATCH_H
#define ORVCTL_ARRAY_WATCH_H

#include <chrono>
#include <string>

#include "tools/orvctl/options.h"
#include "tools/orvctl/session.h"

namespace orvctl {

/// What is watched, and how.
struct watch_wish {
  std::string array;  ///< empty: all
  std::chrono::milliseconds interval{1000};
  /// How long an array that misses members may take to begin with its work.
  std::chrono::milliseconds patience{0};
};

/// Shows how arrays are built and rebuilt until none is any more: as bars on a terminal, elsewhere
/// as one line per change, and under --json only how it ended, as the "arrays" of the document.
/// Ends the command with a problem when an array is not whole then.
/// @param shown     where it is shown
/// @param terminal  descriptor of the terminal that this is; -1 when it is none
void watch_arrays(session& run, const watch_wish& wish, std::ostream& shown, int terminal);

/// "--wait" of a change after which an array works.
void add_wait(CLI::App& verb, bool& wait);
/// Waits for the work on an array that a change has begun.
void wait_for_array(session& run, const std::string& array);

}  // namespace orvctl

#endif
