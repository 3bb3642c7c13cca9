#ifndef ORV_COMMON_COMMAND_H
#define ORV_COMMON_COMMAND_H

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "common/log.h"
#include "common/secret_text.h"

namespace orv {

/// Several words of a command line, such as the device paths of an array's members.
class word_list {
 public:
  /// Adds the word made of a fixed beginning such as "/dev/" and a value.
  void add(std::string_view beginning, std::string_view value);
  const secret_text& text() const { return text_; }
  /// False when a value cannot be a word (see `command`).
  bool usable() const { return usable_; }

 private:
  secret_text text_;
  bool usable_ = true;
};

/// A password between the double quotes of an `echo -e`: what means something to the shell or to
/// echo is escaped, so that echo prints it verbatim. The log shows it as "***".
struct echoed_password {
  std::string_view text;
};

/// One command line, and the only way to the shell.
///
/// It is made from a form and values: each "%s", "%d" or "%lld" of the form takes the next value. A
/// text value made of letters, digits and "_-.,/:+@%=" is inserted as it is; any other one is
/// quoted, so that the tool receives it verbatim and as one word. A value makes the command
/// unusable when it is empty, when it begins a word with "-" and so would be read as an option, and
/// when it stands behind a folder ("/dev/%s") and has a part "." or "..", which names something
/// else; so does a command that does not fit its buffer, since half a command may do harm, and a
/// line end in a password. An unusable command is never run: it is logged and fails like a failed
/// command.
class command {
 public:
  /// Size of every command buffer, terminator included.
  static constexpr std::size_t capacity = 256;

  class value {
   public:
    value(const char* text) : text_(text == nullptr ? "" : text) {}
    value(const std::string& text) : text_(text) {}
    value(std::string_view text) : text_(text) {}
    value(const word_list& words)
        : text_(words.text()), kind_(words.usable() ? kind::words : kind::unusable) {}
    value(echoed_password password) : text_(password.text), kind_(kind::password) {}
    value(std::integral auto number) : text_(std::to_string(number)), kind_(kind::number) {}

   private:
    friend class command;
    enum class kind { word, words, number, password, unusable };
    secret_text text_;
    kind kind_ = kind::word;
  };

  template <class... Values>
  explicit command(const char* form, const Values&... values) {
    build(form, {value(values)...});
  }

  const char* text() const { return text_.c_str(); }
  /// The text as the log may show it.
  const char* logged_text() const { return logged_text_.c_str(); }
  /// 0, or the errno that says why the command cannot be run.
  int error() const { return error_; }

  /// The same command in a buffer that is sized to its values.
  command of_any_length() const;

 private:
  void build(std::string_view form, std::initializer_list<value> values);
  void append_fixed(std::string_view text);
  /// False when the value makes the command unusable.
  bool append(const value& next);

  secret_text text_;
  std::string logged_text_;
  int error_ = 0;
};

/// Runs a command and logs its failure. @return 0, or the result of the log call
int execute(const command& line, const char* log_form = command_failed);

/// Runs a command and logs its failure. @return ORV_OK or ORV_E_COMMAND
int run(const command& line, const char* log_form = command_failed);

/// Runs a command whose failure is none of its caller's: only an unusable command is logged.
/// @return its wait status
int status_of(const command& line);

/// As `run`, through the C library's own command processor: arrays are created that way. It knows
/// no limit; while the caller has set one, the command runs as every other.
int run_by_c_library(const command& line);

/// Logs a command that cannot be run, for the reason in `errno`, as a failed one.
/// @return the result of the log call
int log_not_run(const command& line, const char* log_form = command_failed);

}  // namespace orv

#endif
