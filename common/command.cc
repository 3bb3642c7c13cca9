#include "common/command.h"

#include <orv/errors.h>
#include <orv/support.h>

#include <cerrno>
#include <cstdlib>

#include "common/text.h"

namespace orv {
namespace {

/// The exit status of a shell that could not run its command.
constexpr int not_run = 127 << 8;

bool is_plain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || is_digit(c) ||
         std::string_view("_-.,/:+@%=").find(c) != std::string_view::npos;
}

bool is_plain(std::string_view value) {
  for (const char c : value) {
    if (!is_plain(c)) return false;
  }
  return true;
}

void append_quoted(std::string& text, std::string_view value) {
  text += '\'';
  for (const char c : value) {
    if (c == '\'') {
      text += "'\\''";
    } else {
      text += c;
    }
  }
  text += '\'';
}

/// Appends a value to the word that the text ends with; false when it cannot be part of a word.
bool append_word(std::string& text, std::string_view value) {
  const bool begins_word = text.empty() || text.back() == ' ';
  if (value.empty() || (begins_word && value.front() == '-')) return false;
  if (is_plain(value)) {
    text += value;
  } else {
    append_quoted(text, value);
  }
  return true;
}

}  // namespace

void word_list::add(std::string_view beginning, std::string_view value) {
  if (!text_.empty()) text_ += ' ';
  text_ += beginning;
  usable_ = append_word(text_, value) && usable_;
}

void command::build(std::string_view form, std::initializer_list<value> values) {
  for (const value& next : values) {
    const std::size_t place = form.find('%');
    text_ += form.substr(0, place);
    append(next);
    // "%s", "%d" and "%lld" all end with their conversion letter.
    form.remove_prefix(form.find_first_of("sd", place) + 1);
  }
  text_ += form;
  if (error_ == 0 && text_.size() >= capacity) error_ = ENAMETOOLONG;
}

void command::append(const value& next) {
  if (next.kind_ != value::kind::word) {
    text_ += next.text_;
    if (next.kind_ == value::kind::unusable) error_ = EINVAL;
  } else if (!append_word(text_, next.text_)) {
    text_ += next.text_;
    error_ = EINVAL;
  }
}

int log_not_run(const command& line, const char* log_form) {
  return log_command(log_form, line.text(), not_run);
}

int execute(const command& line, const char* log_form) {
  if (line.error() != 0) {
    errno = line.error();
    return log_not_run(line, log_form);
  }
  const int status = liborv_system(line.text());
  return status == 0 ? 0 : log_command(log_form, line.text(), status);
}

int run(const command& line, const char* log_form) {
  return execute(line, log_form) == 0 ? ORV_OK : ORV_E_COMMAND;
}

int run_by_c_library(const command& line) {
  if (line.error() != 0) {
    errno = line.error();
    log_not_run(line);
    return ORV_E_COMMAND;
  }
  const int status = std::system(line.text());
  if (status == 0) return ORV_OK;
  log_command(command_failed, line.text(), status);
  return ORV_E_COMMAND;
}

}  // namespace orv
