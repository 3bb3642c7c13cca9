/// Files of the machine, by calls that machine::fail() does not reach.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

void make_directory(const std::string& path, mode_t mode);
void make_parents(const std::string& path);
/// Replaces what is there.
void write_file(const std::string& path, std::string_view text, mode_t mode);
/// Names in an open directory, sorted, without "." and "..". Closes the descriptor.
std::vector<std::string> names_in(int directory);
void remove_tree(const std::string& path);

}  // namespace sandbox
