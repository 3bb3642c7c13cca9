#ifndef ORVCTL_TOOL_OUTPUT_H
#define ORVCTL_TOOL_OUTPUT_H

#include <string>
#include <vector>

namespace orvctl {

/// The lines that a tool prints, without a shell. No lines when there is no such tool.
/// @param words  the first is the tool's path
std::vector<std::string> tool_output(std::vector<std::string> words);

}  // namespace orvctl

#endif
