#include "tools/orvctl/long_work.h"

#include <ostream>

namespace orvctl {

void say_what_begins(const session& run, const std::string& sentence) {
  if (!run.as_json) run.io.err << sentence << std::endl;
}

}  // namespace orvctl
