#include <orv/support.h>

namespace {

thread_local unsigned limit = 0;

}  // namespace

unsigned orv_set_tool_timeout(unsigned seconds) {
  const unsigned former = limit;
  limit = seconds;
  return former;
}

unsigned orv_tool_timeout() { return limit; }
