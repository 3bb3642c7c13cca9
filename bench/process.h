/// Other processes, as a program without this library would start them.
#pragma once

#include <string>
#include <vector>

namespace bench {

/// Runs a program with its output in a file. @return its wait status
int run_program(const std::vector<std::string>& words, const std::string& output = "/dev/null");

}  // namespace bench
