#include "text.h"

namespace sandbox {

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  while (!text.empty()) {
    const auto piece = text.substr(0, text.find(separator));
    if (!piece.empty()) pieces.emplace_back(piece);
    text.remove_prefix(std::min(piece.size() + 1, text.size()));
  }
  return pieces;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string without_line_numbers(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const char mark = text.front();
    const auto digits = std::min(text.find_first_not_of("0123456789", 1), text.size()) - 1;
    const auto behind = text.substr(1 + digits);
    result += mark;
    text.remove_prefix(1);
    const bool is_line_number = (mark == ':' && behind.starts_with(" return ")) ||
                                (mark == '[' && behind.starts_with("]: return "));
    if (digits == 0 || !is_line_number) continue;
    result += 'N';
    text.remove_prefix(digits);
  }
  return result;
}

}  // namespace sandbox
