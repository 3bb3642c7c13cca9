#include "tests/security/command_check.h"

#include <algorithm>

#include "tests/sandbox/libc.h"
#include "tests/security/texts.h"

namespace security {
namespace {

bool holds(const std::vector<std::string>& all, const std::string& one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

bool is_disk_of_the_machine(const std::string& word) {
  return word.size() == 8 && word.starts_with("/dev/sd") && word[7] >= 'a' && word[7] <= 'f';
}

std::string general(const std::string& word, const words& before) {
  if (is_disk_of_the_machine(word)) return "/dev/sdX";
  if (!before.empty() && before.back() == "-n" && before.front() == "/sbin/mdadm") return "N";
  return word.starts_with("/tmp/") ? sandbox::libc::with_templates(word) : word;
}

void append(words& all, const simple_command& command) {
  words line;
  for (const std::string& word : command.words) line.push_back(general(word, line));
  if (command.output) line.insert(line.end(), {">", general(*command.output, line)});
  all.insert(all.end(), line.begin(), line.end());
}

std::string exchanged(std::string word, const std::string& mark, const std::string& text) {
  for (std::size_t at = 0; (at = word.find(mark, at)) != std::string::npos; at += text.size()) {
    word.replace(at, mark.size(), text);
  }
  return word;
}

words items_of(const std::string& list) {
  words all(1);
  for (const char c : list) {
    if (c == ',') {
      all.emplace_back();
    } else {
      all.back() += c;
    }
  }
  std::erase(all, "");
  return all;
}

/// What any function may ask, whatever its arguments.
bool is_question(const words& command) {
  static const std::set<words> all = {
      {"/sbin/vgdisplay", "-c", ">", "/tmp/vgdisplay.XXXXXX"},
      {"/sbin/pvdisplay", "-c", ">", "/tmp/pvdisplay.XXXXXX"},
  };
  return all.contains(command);
}

std::string told(const words& command) {
  std::string text;
  for (const std::string& word : command) text += ' ' + shown(word);
  return text;
}

/// A text that may stand anywhere in a command, a file name or an account, and names nothing that
/// the machine has.
bool is_harmless(const std::string& text) {
  for (const char c : text) {
    if ((c >= 0 && c <= ' ') || std::string_view("\x7f:|,/=.").find(c) != std::string_view::npos)
      return false;
  }
  return !text.empty() && text.front() != '-' && !(text.front() >= '0' && text.front() <= '9') &&
         text.size() < 20 && !text.starts_with("md") && !text.starts_with("sd");
}

}  // namespace

std::string doubled_backslashes(const std::string& text) { return exchanged(text, "\\", "\\\\"); }

std::vector<words> documented_form(const std::vector<run_line>& runs) {
  std::vector<words> all;
  for (const run_line& run : runs) {
    words& form = all.emplace_back();
    if (run.commands.empty()) form = {"none of the forms:", run.text};
    for (const simple_command& command : run.commands) {
      if (!form.empty()) form.emplace_back("|");
      append(form, command);
    }
  }
  return all;
}

allowed_commands::allowed_commands(const driven_call& call, const text_place& place)
    : is_word_(holds(call.word_places, place.id)),
      is_list_(holds(call.list_places, place.id)),
      is_password_(holds(call.password_places, place.id)),
      mark_(is_list_ ? "sdQmark" : "Qmark") {}

words allowed_commands::replaced(const words& form, const std::string& text) const {
  words all;
  for (const std::string& word : form) {
    const std::string whole = exchanged(word, mark_, text);
    all.push_back(is_disk_of_the_machine(whole) ? "/dev/sdX" : whole);
  }
  return all;
}

/// The words with the mark, which stand together, become one word for each item.
words allowed_commands::expanded(const words& form, const words& items) const {
  const auto marked = [this](const std::string& word) { return word.find(mark_) != word.npos; };
  const auto first = std::find_if(form.begin(), form.end(), marked);
  words all(form.begin(), first);
  if (first == form.end()) return all;
  for (const std::string& item : items) {
    const std::string whole = exchanged(*first, mark_, item);
    all.push_back(is_disk_of_the_machine(whole) ? "/dev/sdX" : whole);
  }
  all.insert(all.end(), std::find_if_not(first, form.end(), marked), form.end());
  return all;
}

void allowed_commands::learn(const std::vector<words>& usual, const std::vector<words>& marked) {
  usual_ = {usual.begin(), usual.end()};
  marked_ = marked;
  for (const words& command : marked) {
    reaches_ = reaches_ || replaced(command, "") != command;
  }
}

void allowed_commands::learn_also(const std::vector<words>& marked, const std::string& mark) {
  for (const words& form : marked) {
    words& other = also_.emplace_back();
    for (const std::string& word : form) other.push_back(exchanged(word, mark, mark_));
  }
}

std::set<words> allowed_commands::with_text(const std::string& text) const {
  std::set<words> all;
  for (const words& form : also_) all.insert(replaced(form, text));
  for (const words& form : marked_) {
    all.insert(replaced(form, is_password_ ? doubled_backslashes(text) : text));
    if (!is_list_) continue;
    const words items = items_of(text);
    all.insert(expanded(form, items));
    for (const std::string& item : items) all.insert(replaced(form, item));
  }
  return all;
}

bool allowed_commands::must_run(const std::string& text) const {
  return (is_word_ || is_password_) && is_harmless(text);
}

std::string allowed_commands::fault_in(const std::vector<words>& run,
                                       const std::string& text) const {
  if (!must_run(text)) {
    // Most calls end at a question whose commands are the usual ones.
    const auto unusual = [this](const words& command) {
      return !usual_.contains(command) && !is_question(command);
    };
    if (std::none_of(run.begin(), run.end(), unusual)) return "";
    const std::set<words> allowed = with_text(text);
    for (const words& command : run) {
      if (unusual(command) && !allowed.contains(command)) return "ran" + told(command);
    }
    return "";
  }
  std::vector<words> wanted;
  for (const words& form : marked_) {
    wanted.push_back(replaced(form, is_password_ ? doubled_backslashes(text) : text));
  }
  if (run == wanted) return "";
  std::string all = "ran other commands than for a plain word:";
  for (const words& command : run) all += '\n' + told(command);
  return all;
}

}  // namespace security
