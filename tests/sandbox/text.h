/// Small text helpers of the sandbox.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

/// The non-empty pieces between separators.
std::vector<std::string> split(std::string_view text, char separator);

/// The words with a blank between each two.
std::string joined(const std::vector<std::string>& words);

/// Log text with "N" for source line numbers, as in "name:123 return" and "name[123]: return".
std::string without_line_numbers(std::string_view text);

}  // namespace sandbox
