#ifndef ORV_SUPPORT_SHARED_CHILD_H
#define ORV_SUPPORT_SHARED_CHILD_H

#include <sys/types.h>

#include <span>

namespace orv::support {

/// Runs a function in a child that shares this process's memory but not its descriptors, so that
/// the cost of making it does not grow with the memory. The calling thread waits until the function
/// returns, which ends the child, or becomes another program. Neither a signal nor a cancellation
/// reaches the two meanwhile. Where the function lets signals in, those that this process handles
/// do in the child what they do by default, and what it ignores stays ignored.
///
/// The function may allocate nothing and throw nothing, and what it would clean up when it returns
/// it must clean up before it becomes another program. Its `errno` is the calling thread's.
/// @param stack       of the child alone
/// @param end_signal  that tells this process of the child's end; 0: none, and the child is waited
///                    for as a clone (__WALL)
/// @return the child's number; -1: it could not be made, and `errno` says why
pid_t run_in_shared_child(int (*run)(void*) noexcept, void* argument, std::span<char> stack,
                          int end_signal = 0);

}  // namespace orv::support

#endif
