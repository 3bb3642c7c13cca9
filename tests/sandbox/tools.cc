/// The words in which a test describes a fake tool.
#include <unistd.h>

#include <stdexcept>

#include "errors.h"
#include "sandbox.h"
#include "toolbox.h"

namespace sandbox {
namespace {

lines split_at_blanks(std::string_view text) {
  lines words;
  for (size_t start; (start = text.find_first_not_of(' ')) != std::string_view::npos;) {
    text.remove_prefix(start);
    words.emplace_back(text.substr(0, text.find(' ')));
    text.remove_prefix(words.back().size());
  }
  return words;
}

// The word as an fnmatch pattern that matches itself, but for the characters in `wild`.
std::string pattern_of(std::string_view word, std::string_view wild) {
  std::string pattern;
  for (const char c : word) {
    const bool special = std::string_view("*?[\\").find(c) != std::string_view::npos;
    if (special && wild.find(c) == std::string_view::npos) pattern += '\\';
    pattern += c;
  }
  constexpr std::string_view random_part = "XXXXXX";
  if (const auto at = pattern.find(random_part); !wild.empty() && at != std::string::npos)
    pattern.replace(at, random_part.size(), "??????");
  return pattern;
}

bool is_wild(const std::string& word) {
  return word.find_first_of("*?") != std::string::npos || word.find("XXXXXX") != std::string::npos;
}

}  // namespace

answer& fake_tool::on(std::string_view arguments) {
  auto words = split_at_blanks(arguments);
  canned_answer canned{.tool = path_, .close = exact_words, .any_rest = false};
  if (!words.empty() && words.back() == "...") {
    words.pop_back();
    canned.any_rest = true;
    canned.close = words.empty() ? any_words : wild_words;
  }
  for (const auto& word : words) {
    if (is_wild(word)) canned.close = wild_words;
    canned.patterns.push_back(pattern_of(word, "*?"));
  }
  return box_.add(canned);
}

answer& fake_tool::on_exactly(const lines& arguments) {
  canned_answer canned{.tool = path_, .close = exact_words, .any_rest = false};
  for (const auto& word : arguments) canned.patterns.push_back(pattern_of(word, ""));
  return box_.add(canned);
}

void fake_tool::is_real() {
  const auto applet = real_tool_for(path_);
  must(::access(applet.c_str(), X_OK), "no real tool " + applet);
  box_.add({.tool = path_, .real = true}).if_asked();
}

void fake_tool::is_missing() { box_.expect_missing(path_); }

answer::answer(toolbox& box, size_t number) : box_(box), number_(number) {}

answer& answer::save() {
  box_.save(number_);
  return *this;
}

answer& answer::takes(std::chrono::milliseconds time) {
  box_.canned(number_).delay = static_cast<int>(time.count());
  return save();
}

answer& answer::prints(std::string_view output) {
  box_.canned(number_).output = output;
  return save();
}

answer& answer::complains(std::string_view errors) {
  box_.canned(number_).errors = errors;
  return save();
}

answer& answer::runs(std::string_view script) {
  box_.canned(number_).script = script;
  return save();
}

answer& answer::dies_of(int signal) {
  box_.canned(number_).signal = signal;
  return save();
}

answer& answer::fails(int exit_code) {
  box_.canned(number_).exit_code = exit_code;
  return save();
}

answer& answer::succeeds() { return fails(0); }

answer& answer::times(int count) {
  if (count < 1) throw std::invalid_argument("an answer is given once at least");
  box_.canned(number_).times = count;
  return save();
}

answer& answer::if_asked() {
  box_.let_stay_unasked(number_);
  return *this;
}

answer& answer::then() {
  const auto& earlier = box_.canned(number_);
  return box_.add({.tool = earlier.tool,
                   .close = earlier.close,
                   .patterns = earlier.patterns,
                   .any_rest = earlier.any_rest});
}

}  // namespace sandbox
