#ifndef ORVCTL_TEXT_DIFF_H
#define ORVCTL_TEXT_DIFF_H

#include <string>
#include <vector>

namespace orvctl {

/// What makes one text of another, as the hunks of a unified diff with three lines of context;
/// empty when they are the same.
std::vector<std::string> unified_diff(const std::string& before, const std::string& after);

}  // namespace orvctl

#endif
