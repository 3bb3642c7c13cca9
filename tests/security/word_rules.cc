#include "tests/security/word_rules.h"

namespace security {
namespace {

bool is_ordinary(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return letter || (c >= '0' && c <= '9') ||
         std::string_view("_-.,/:+@%=").find(c) != std::string_view::npos;
}

class reader {
 public:
  explicit reader(std::string_view line) : rest_(line) {}

  std::optional<std::vector<simple_command>> read() {
    while (!rest_.empty()) {
      if (!take()) return std::nullopt;
    }
    if (!end_word() || target_follows_ || all_.back().words.empty()) return std::nullopt;
    return all_;
  }

 private:
  bool take() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    if (c == ' ') return end_word();
    if (c == '>') return end_word() && begin_target();
    if (c == '|') return end_word() && begin_command();
    if (c == '\'') return take_single_quoted();
    if (c == '"') return take_double_quoted();
    if (c == '\\') return take_escaped();
    add(c);
    return is_ordinary(c);
  }

  void add(char c) {
    word_ += c;
    in_word_ = true;
  }

  bool end_word() {
    if (!in_word_) return true;
    if (target_follows_) {
      all_.back().output = word_;
    } else {
      all_.back().words.push_back(word_);
    }
    target_follows_ = in_word_ = false;
    word_.clear();
    return true;
  }

  bool begin_target() {
    const bool allowed = !target_follows_ && !all_.back().output;
    target_follows_ = true;
    return allowed;
  }

  bool begin_command() {
    const bool allowed = !target_follows_ && !all_.back().words.empty();
    all_.emplace_back();
    return allowed;
  }

  /// "\'" between two quoted parts is the only character that the library escapes so.
  bool take_escaped() {
    if (!rest_.starts_with('\'')) return false;
    rest_.remove_prefix(1);
    add('\'');
    return true;
  }

  bool take_single_quoted() {
    const std::size_t end = rest_.find('\'');
    if (end == rest_.npos) return false;
    word_ += rest_.substr(0, end);
    in_word_ = true;
    rest_.remove_prefix(end + 1);
    return true;
  }

  bool take_double_quoted() {
    in_word_ = true;
    while (!rest_.empty()) {
      const char c = rest_.front();
      rest_.remove_prefix(1);
      if (c == '"') return true;
      const bool joins_lines = c == '\\' && rest_.starts_with('\n');
      if (c == '$' || c == '`' || joins_lines) return false;
      const bool escapes = c == '\\' && rest_.find_first_of("$`\"\\") == 0;
      add(escapes ? rest_.front() : c);
      if (escapes) rest_.remove_prefix(1);
    }
    return false;
  }

  std::string_view rest_;
  std::vector<simple_command> all_{1};
  std::string word_;
  bool in_word_ = false;
  bool target_follows_ = false;
};

}  // namespace

std::optional<std::vector<simple_command>> commands_of(std::string_view line) {
  return reader(line).read();
}

}  // namespace security
