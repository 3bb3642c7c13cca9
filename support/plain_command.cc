#include "support/plain_command.h"

#include <algorithm>

#include "support/characters.h"

namespace orv::support {
namespace {

/// The builtins of dash and bash that are no signs, and their reserved words.
constexpr std::string_view words_of_the_shell[] = {
    "alias",  "bg",      "bind",     "break",    "builtin",   "caller",   "case",    "cd",
    "chdir",  "command", "compgen",  "complete", "compopt",   "continue", "coproc",  "declare",
    "dirs",   "disown",  "do",       "done",     "echo",      "elif",     "else",    "enable",
    "esac",   "eval",    "exec",     "exit",     "export",    "false",    "fc",      "fg",
    "fi",     "for",     "function", "getopts",  "hash",      "help",     "history", "if",
    "in",     "jobs",    "kill",     "let",      "local",     "logout",   "mapfile", "popd",
    "printf", "pushd",   "pwd",      "read",     "readarray", "readonly", "return",  "select",
    "set",    "shift",   "shopt",    "source",   "suspend",   "test",     "then",    "time",
    "times",  "trap",    "true",     "type",     "typeset",   "ulimit",   "umask",   "unalias",
    "unset",  "until",   "wait",     "while"};

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool is_plain(char c) {
  return is_letter(c) || is_digit(c) || std::string_view("_-.,/:+@%=").find(c) != std::string::npos;
}

bool is_plain(std::string_view word) {
  return std::ranges::all_of(word, [](char c) { return is_plain(c); });
}

/// Whether a word that stands first is the name of a program: no builtin (":" and "." are, too),
/// no assignment, no job ("%1") and no option of the shell.
bool names_program(std::string_view word) {
  const bool has_letter = std::any_of(word.begin(), word.end(), is_letter);
  return has_letter && word.find('=') == word.npos &&
         std::string_view("%-+").find(word.front()) == std::string_view::npos &&
         std::ranges::find(words_of_the_shell, word) == std::end(words_of_the_shell);
}

std::vector<std::string_view> words_between_blanks(std::string_view line) {
  std::vector<std::string_view> words;
  while (!line.empty()) {
    const std::string_view word = line.substr(0, line.find(' '));
    if (!word.empty()) words.push_back(word);
    line.remove_prefix(std::min(word.size() + 1, line.size()));
  }
  return words;
}

}  // namespace

std::optional<plain_command> plain_command_of(std::string_view line) {
  std::vector<std::string_view> words = words_between_blanks(line);
  std::string_view output;
  if (words.size() > 2 && *(words.end() - 2) == ">") {
    output = words.back();
    words.resize(words.size() - 2);
  }
  if (words.empty() || !names_program(words.front())) return std::nullopt;
  if (!std::ranges::all_of(words, [](std::string_view word) { return is_plain(word); }) ||
      !is_plain(output))
    return std::nullopt;
  // Copied last: a line with a password is not plain, and nobody would clear a copy of it.
  return plain_command{{words.begin(), words.end()}, std::string(output)};
}

}  // namespace orv::support
