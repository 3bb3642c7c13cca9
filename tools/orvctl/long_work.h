#ifndef ORVCTL_LONG_WORK_H
#define ORVCTL_LONG_WORK_H

#include <string>

#include "tools/orvctl/session.h"

namespace orvctl {

/// Says what may take long, when it begins: right before the first command that changes something.
/// Of a change that is refused nothing is said, nor under --json.
class begins {
 public:
  /// @param sentence  empty for nothing
  begins(const session& run, const std::string& sentence);
  ~begins();
  begins(const begins&) = delete;
  begins& operator=(const begins&) = delete;
};

}  // namespace orvctl

#endif
