/// Rarer ways to bend the C library than `machine` has: see libc.h for how it is done. They last as
/// long as the machine.
#pragma once

#include <chrono>
#include <functional>
#include <string_view>

namespace sandbox {

/// Something happens just before the next call of a function that `machine::fail` knows, once.
void before(std::string_view function, std::function<void()> act);

/// Each reading of the monotonic clock is so much later than the one before: long waits end at
/// once.
void hasten(std::chrono::seconds step);

/// stat(2) tells no parts of a second, as of file systems that keep none.
void know_whole_seconds_only();

}  // namespace sandbox
