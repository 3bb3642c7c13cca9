#ifndef ORV_COMMON_TOOL_LIMIT_H
#define ORV_COMMON_TOOL_LIMIT_H

namespace orv {

/// The calling thread's limit for commands in seconds; 0: none, also when another support library
/// stands in for ours and knows of no limit.
unsigned tool_limit();

}  // namespace orv

#endif
