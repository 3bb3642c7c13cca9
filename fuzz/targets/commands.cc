/// The formatter of command lines: the shell finds every value as one word, as it was given. Lines
/// that are run without a shell: their words are those that a shell would find.

#include "common/command.h"

#include <vector>

#include "fuzz.h"
#include "support/plain_command.h"
#include "support/process_group.h"

namespace {

using orv::support::plain_command_of;

/// The words of a command line as a shell reads them; false where it would do anything else, such
/// as run a second command, than pass words on.
bool shell_words(std::string_view line, std::vector<std::string>& words) {
  constexpr std::string_view special = "|&;<>()$`\\\"*?[#~{}!\n\r\t";
  bool in_word = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == ' ') {
      in_word = false;
      continue;
    }
    if (!in_word) words.emplace_back();
    in_word = true;
    if (c == '\\' && i + 1 < line.size() && line[i + 1] == '\'') {
      words.back() += line[++i];
    } else if (c == '\'') {
      const std::size_t end = line.find('\'', i + 1);
      if (end == line.npos) return false;
      words.back() += line.substr(i + 1, end - i - 1);
      i = end;
    } else if (special.find(c) != special.npos) {
      return false;
    } else {
      words.back() += c;
    }
  }
  return true;
}

/// What `echo -e` prints of the text between the double quotes of a command line.
std::string echoed(std::string_view text) {
  std::string unquoted;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escapes = text[i] == '\\' && i + 1 < text.size() &&
                         std::string_view("$`\"\\\n").find(text[i + 1]) != std::string_view::npos;
    EXPECT(escapes || std::string_view("$`\"").find(text[i]) == std::string_view::npos);
    if (escapes) ++i;
    unquoted += text[i];
  }
  std::string printed;
  for (std::size_t i = 0; i < unquoted.size(); ++i) {
    if (unquoted[i] == '\\') {
      EXPECT(i + 1 < unquoted.size() && unquoted[i + 1] == '\\');
      ++i;
    }
    printed += unquoted[i];
  }
  return printed;
}

void check_words(const std::string& first, const std::string& second) {
  orv::word_list list;
  list.add("/dev/", first);
  list.add("", second);
  const orv::command line("tool -a %s /dev/%s%d %s", first, second, 7, list);
  EXPECT(line.error() == 0 || line.error() == EINVAL || line.error() == ENAMETOOLONG);
  if (line.error() != 0) return;
  EXPECT(std::string_view(line.text()).size() < orv::command::capacity);
  std::vector<std::string> words;
  EXPECT(shell_words(line.text(), words));
  const std::vector<std::string> wanted = {"tool",          "-a",  first, "/dev/" + second + "7",
                                           "/dev/" + first, second};
  EXPECT(words == wanted);
  EXPECT(!first.starts_with('-') && !second.starts_with('-'));
}

/// A value that begins a list of words may be no option, and one that cannot be a word spoils it.
void check_first_word(const std::string& first, const std::string& second) {
  const auto is_word = [](const std::string& text) { return !text.empty() && text[0] != '-'; };
  orv::word_list list;
  list.add("", first);
  EXPECT(list.usable() == is_word(first));
  list.add("", second);
  EXPECT(list.usable() == (is_word(first) && is_word(second)));
  orv::word_list joined;
  joined.add("--name=", first);
  EXPECT(joined.usable() == !first.empty());
}

void check_password(const std::string& password) {
  const orv::command line("echo -e \"%s\"", orv::echoed_password{password});
  EXPECT(std::string_view(line.logged_text()) == "echo -e \"***\"");
  if (line.error() != 0) return;
  const std::string_view text = line.text();
  EXPECT(text.ends_with('"'));
  EXPECT(echoed(text.substr(9, text.size() - 10)) == password);
}

/// A line as it comes: it is plain only when no character of it means anything to a shell.
void check_plain_line(const std::string& line) {
  const auto plain = plain_command_of(line);
  if (!plain) return;
  std::string_view tool = line;
  if (!plain->output.empty()) {
    const std::size_t redirection = tool.rfind(" > ");
    EXPECT(redirection != tool.npos);
    std::vector<std::string> output;
    EXPECT(shell_words(tool.substr(redirection + 3), output));
    EXPECT(output == std::vector<std::string>{plain->output});
    tool = tool.substr(0, redirection);
  }
  std::vector<std::string> words;
  EXPECT(shell_words(tool, words));
  EXPECT(!words.empty() && words == plain->words && words[0].find('=') == words[0].npos);
}

/// A line that the formatter made.
void check_formatted_line(const std::string& first, const std::string& second) {
  const orv::command line("tool -a %s > %s", first, second);
  const auto plain = line.error() == 0 ? plain_command_of(line.text()) : std::nullopt;
  if (!plain) return;
  EXPECT((plain->words == std::vector<std::string>{"tool", "-a", first}));
  EXPECT(plain->output == second);
}

/// A process's name may hold anything.
void check_process(const std::string& name, std::string_view text) {
  orv::support::process_state_of(text);
  const auto state = orv::support::process_state_of("7 (" + name + ") S 1 42 42 0 -1");
  EXPECT(state && state->group == 42 && state->is_alive);
}

}  // namespace

FUZZ_TARGET(commands, in) {
  const std::string first = in.word();
  const std::string second = in.word();
  check_words(first, second);
  check_first_word(first, second);
  check_password(first);
  check_plain_line(first);
  check_plain_line(first + " > " + second);
  check_formatted_line(first, second);
  check_process(first, second);
}
