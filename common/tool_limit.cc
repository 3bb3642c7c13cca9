#include "common/tool_limit.h"

#include <orv/support.h>

// Weak: missing in a support library that stands in for ours.
unsigned orv_tool_timeout() __attribute__((weak));

namespace orv {

unsigned tool_limit() { return orv_tool_timeout == nullptr ? 0 : orv_tool_timeout(); }

}  // namespace orv
