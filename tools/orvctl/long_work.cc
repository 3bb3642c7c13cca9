#include "tools/orvctl/long_work.h"

#include <ostream>

#include "tools/orvctl/library_calls.h"

namespace orvctl {

begins::begins(const session& run, const std::string& sentence) {
  if (run.as_json || sentence.empty()) return;
  before_next_change([&run, sentence] { run.io.err << sentence << std::endl; });
}

begins::~begins() { before_next_change({}); }

}  // namespace orvctl
