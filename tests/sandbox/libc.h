/// The C library functions that the test can bend. The definitions in the test program come before
/// the C library's, for the shared libraries under test too.
#pragma once

#include <sys/stat.h>

#include <span>
#include <string>
#include <string_view>

#include "sandbox.h"

namespace sandbox::libc {

/// Everything as the C library has it, but for the kernel release.
void reset();

void fail(std::string_view function, int error, int nth_call);
void set_kernel_release(std::string_view release);
void set_in_use(const std::string& path);
void set_disk_space(const std::string& path, const disk_space& space);

/// The text with the names that mkstemp gave out turned back into their templates.
std::string with_templates(std::string text);

/// Does what is due before this call; true, with `errno`, when it is to fail.
bool fails(std::string_view function);

/// Whether a test says that the kernel uses this device.
bool is_in_use(const char* path);

/// Names of the functions that only can fail.
std::span<const std::string_view> failing_calls();
/// Throws for a function that is none of ours. For `clone` it also refuses the other way to a
/// process, which no function here stands before; each call adds to that for good.
void make_bendable(std::string_view function);

// Of bend.cc.
void bend_nothing();
void do_what_comes_before(std::string_view function);
int bent_stat(int result, struct stat* found);

/// True while this thread is in code of the sandbox, which stands in a function of the C library.
bool is_busy();

}  // namespace sandbox::libc
