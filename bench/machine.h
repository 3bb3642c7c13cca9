/// The simulated machine of the benchmarks: real shells, Python and file tools, an /etc, /proc and
/// /sys of its own, and storage tools that print canned text and take a given time.
#pragma once

#include <string>
#include <string_view>

namespace bench {

/// Makes the machine's root this process's, for good. Throws where the kernel refuses.
void enter_machine();

/// Writes a file of the machine with its directories.
void write_file(const std::string& path, std::string_view text);

std::string read_file(const std::string& path);

/// What a storage tool prints for a command line such as "/sbin/vgdisplay -c". Of what
/// nobody has said it prints nothing and fails.
void can(const std::string& command_line, std::string_view text);

/// How many volume groups the LVM tools read, each of which takes them some time.
void set_groups(int number);

/// How long the tools take before they print: nothing, or what the real ones take at least.
enum class pace { none, real };
void set_pace(pace wanted);

}  // namespace bench
