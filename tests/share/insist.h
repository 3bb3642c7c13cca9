#ifndef ORV_TESTS_SHARE_INSIST_H
#define ORV_TESTS_SHARE_INSIST_H

#include <orv/errors.h>
#include <unistd.h>

/// Repeats a change of shares until it is made: what another process holds is asked for again.
/// @param made_before  what it ends with when it was half made while a second file was locked
/// @return how often it was refused because of a lock; -1 when anything else went wrong
template <class Change>
int insist(Change change, int made_before) {
  for (int refusals = 0;; ++refusals) {
    const int result = change();
    if (result == ORV_OK || (refusals > 0 && result == made_before)) return refusals;
    if (result != ORV_E_SHARES_LOCKED && result != ORV_E_SERVICE_LOCKED) return -1;
    usleep(1000);
  }
}

#endif
