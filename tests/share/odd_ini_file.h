#ifndef ORV_TESTS_SHARE_ODD_INI_FILE_H
#define ORV_TESTS_SHARE_ODD_INI_FILE_H

#include <random>
#include <string>
#include <string_view>
#include <vector>

/// INI files as nobody writes them: sections and keys that come again, heads that are indented, cut
/// or too long, comments, NULs and carriage returns. The same ones in every run.
class odd_ini_file {
 public:
  explicit odd_ini_file(std::vector<std::string> keys) : keys_(std::move(keys)) {}

  const std::string& next() {
    text_.clear();
    for (std::size_t lines = number(40); lines > 0; --lines) {
      text_ += number(4) == 0 ? head() : setting();
      text_ += one_of({"\n", "\n", "\n", "\n", "\r\n", "\n\n", " \n", "\f\n"});
    }
    if (number(4) == 0 && !text_.empty()) text_.pop_back();
    return text_;
  }
  const std::string& text() const { return text_; }

  /// True when the n-th line that begins with "[", counted from 1, has a "]" before any carriage
  /// return and NUL.
  bool is_closed_head(int n) const {
    std::size_t start = 0;
    for (;;) {
      if (text_[start] == '[' && --n == 0) break;
      start = text_.find('\n', start) + 1;
    }
    const std::size_t end = text_.find_first_of(std::string_view("]\r\n\0", 4), start);
    return end != std::string::npos && text_[end] == ']';
  }

 private:
  std::size_t number(std::size_t limit) { return random_() % limit; }
  std::string one_of(const std::vector<std::string>& texts) { return texts[number(texts.size())]; }

  std::string head() {
    static const std::vector<std::string> names = {"a",
                                                   "b",
                                                   "c",
                                                   " a ",
                                                   "a b",
                                                   "",
                                                   "a]",
                                                   "[b",
                                                   "a=b",
                                                   "a#",
                                                   "\t",
                                                   std::string("a\0b", 3),
                                                   std::string(33, 'n'),
                                                   std::string(34, 'n'),
                                                   std::string(35, 'n'),
                                                   "a\rb",
                                                   "\xc3\xa4"};
    return one_of({"[", "[", "[", "[", " [", "\t[", "#[", "[["}) + one_of(names) +
           one_of({"]", "]", "]", "]", "", " ]", "] tail", "]]", "\r]"});
  }

  std::string setting() {
    static const std::vector<std::string> values = {"1",
                                                    "0",
                                                    "1",
                                                    "1 ",
                                                    "",
                                                    "11",
                                                    "1=1",
                                                    "yes",
                                                    "no",
                                                    "x y",
                                                    "\"q\"",
                                                    "[a",
                                                    "42",
                                                    "-7",
                                                    "12GB",
                                                    "#1",
                                                    ";",
                                                    "1\r",
                                                    "no\r",
                                                    "a=b=c",
                                                    std::string("1\0x", 3),
                                                    std::string("no\0x", 4),
                                                    std::string("\0"
                                                                "1",
                                                                2),
                                                    std::string(40, '0') + "9",
                                                    std::string(300, 'v'),
                                                    "99999999999999999999999"};
    return one_of({"", "", "", "", " ", "\t", "#", ";", "x", "=", "\v"}) + one_of(keys_) +
           one_of({"=", " = ", "=", "\t=", "= ", "", " ", "=="}) + one_of(values);
  }

  std::vector<std::string> keys_;
  std::string text_;
  std::mt19937 random_{20240131};
};

#endif
