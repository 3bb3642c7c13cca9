/// Whether the commands that a call ran are the documented ones, with the text as a word.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/security/arguments.h"
#include "tests/security/stand_in.h"

namespace security {

using words = std::vector<std::string>;

/// The commands of a call as lists of words; the random part of a temporary file's name reads
/// XXXXXX, a disk of the machine sdX, a count after "-n" N, and a target of the output stands
/// behind the word ">".
std::vector<words> documented_form(const std::vector<run_line>& runs);

/// What one place of a call may run: learned from the usual call, and from one whose text there is
/// a plain mark.
class allowed_commands {
 public:
  allowed_commands(const driven_call& call, const text_place& place);
  /// A text that the function takes there, and that nothing else has.
  std::string marked_text() const { return is_list_ ? mark_ + ',' + mark_ + ',' + mark_ : mark_; }
  /// Other marks, for functions that take a disk or an absolute path only.
  static std::vector<std::string> other_marks() { return {"sdQmark", "/Qmark"}; }
  void learn(const std::vector<words>& usual, const std::vector<words>& marked);
  void learn_also(const std::vector<words>& marked, const std::string& mark);

  /// Why the commands of a call with this text are not allowed; empty when they are.
  std::string fault_in(const std::vector<words>& run, const std::string& text) const;

  /// The text is in some command.
  bool reaches_a_command() const { return reaches_; }

 private:
  std::set<words> with_text(const std::string& text) const;
  words replaced(const words& form, const std::string& text) const;
  words expanded(const words& form, const words& items) const;
  bool must_run(const std::string& text) const;

  bool is_word_;
  bool is_list_;
  bool is_password_;
  std::string mark_;
  bool reaches_ = false;
  std::set<words> usual_;
  std::vector<words> marked_;
  std::vector<words> also_;
};

/// What the words of a command line are in the end, for a text given to a password's place.
std::string doubled_backslashes(const std::string& text);

}  // namespace security
