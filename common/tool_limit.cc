#include "common/tool_limit.h"

#include <orv/support.h>

// Weak: missing in a support library that stands in for ours.
#pragma weak orv_tool_timeout

namespace orv {

unsigned tool_limit() { return orv_tool_timeout == nullptr ? 0 : orv_tool_timeout(); }

}  // namespace orv
