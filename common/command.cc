#include "common/command.h"

#include <orv/errors.h>
#include <orv/support.h>

#include <cerrno>
#include <cstdlib>

#include "common/text.h"
#include "common/tool_limit.h"

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

void append_quoted(secret_text& text, std::string_view value) {
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

/// Whether a path written behind a folder could leave it, or mean the folder itself.
bool climbs(std::string_view path) {
  for (const std::string_view part : split(path, "/")) {
    if (part == "." || part == "..") return true;
  }
  return false;
}

/// Appends a value to the word that the text ends with; false when it cannot be part of a word.
bool append_word(secret_text& text, std::string_view value) {
  const bool begins_word = text.empty() || text.back() == ' ';
  if (value.empty() || (begins_word && value.front() == '-')) return false;
  if (!begins_word && text.back() == '/' && climbs(value)) return false;
  if (is_plain(value)) {
    text += value;
  } else {
    append_quoted(text, value);
  }
  return true;
}

constexpr char hidden_password[] = "***";

/// A backslash passes the shell's double quotes and then echo, both of which take half of them.
secret_text escaped_for_echo(std::string_view password) {
  secret_text escaped;
  for (const char c : password) {
    if (c == '\\') {
      escaped += "\\\\\\";
    } else if (c == '$' || c == '`' || c == '"') {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

bool holds_line_end(std::string_view text) { return text.find_first_of("\r\n") != text.npos; }

}  // namespace

void word_list::add(std::string_view beginning, std::string_view value) {
  if (!text_.empty()) text_ += ' ';
  text_ += beginning;
  usable_ = append_word(text_, value) && usable_;
}

void command::build(std::string_view form, std::initializer_list<value> values) {
  for (const value& next : values) {
    const std::size_t place = form.find('%');
    append_fixed(form.substr(0, place));
    const std::size_t start = text_.size();
    if (!append(next)) error_ = EINVAL;
    logged_text_ += next.kind_ == value::kind::password ? hidden_password
                                                        : std::string_view(text_).substr(start);
    // "%s", "%d" and "%lld" all end with their conversion letter.
    form.remove_prefix(form.find_first_of("sd", place) + 1);
  }
  append_fixed(form);
  if (error_ == 0 && text_.size() >= capacity) error_ = ENAMETOOLONG;
}

command command::of_any_length() const {
  command sized = *this;
  if (sized.error_ == ENAMETOOLONG) sized.error_ = 0;
  return sized;
}

void command::append_fixed(std::string_view text) {
  text_ += text;
  logged_text_ += text;
}

bool command::append(const value& next) {
  if (next.kind_ == value::kind::password) {
    text_ += escaped_for_echo(next.text_);
    return !holds_line_end(next.text_);
  }
  if (next.kind_ == value::kind::word && append_word(text_, next.text_)) return true;
  text_ += next.text_;
  return next.kind_ == value::kind::words || next.kind_ == value::kind::number;
}

int log_not_run(const command& line, const char* log_form) {
  return log_command(log_form, line.logged_text(), not_run);
}

int status_of(const command& line) {
  if (line.error() == 0) return liborv_system(line.text());
  errno = line.error();
  log_not_run(line);
  return not_run;
}

int execute(const command& line, const char* log_form) {
  if (line.error() != 0) {
    errno = line.error();
    return log_not_run(line, log_form);
  }
  const int status = liborv_system(line.text());
  return status == 0 ? 0 : log_command(log_form, line.logged_text(), status);
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
  const int status = tool_limit() == 0 ? std::system(line.text()) : liborv_system(line.text());
  if (status == 0) return ORV_OK;
  log_command(command_failed, line.logged_text(), status);
  return ORV_E_COMMAND;
}

}  // namespace orv
