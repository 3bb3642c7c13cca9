#include "tests/security/shells.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/plain_command.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/programs/records.h"
#include "tests/security/texts.h"

namespace security {
namespace {

constexpr char script_path[] = "/scratch/lines";
constexpr char words_path[] = "/scratch/words";
constexpr char errors_path[] = "/scratch/errors";

// The end of the password line's first command: behind it the password is on its way to the tool.
constexpr std::string_view pipe = "\" | /usr/bin/smbpasswd ";
constexpr std::string_view process_list = "ps aux > ";

/// "p" writes its words down, each behind a length; "q" the text that it is fed as well.
constexpr char functions[] =
    "exec 3> /scratch/words\n"
    "p() { printf '%s\\0' \"$#\" \"$@\" >&3; }\n"
    "q() { while IFS= read -r l; do printf '%s\\n' \"$l\"; done >&3; p \"$@\"; }\n";

bool is_pipeline(const run_line& line) { return line.commands.size() == 2; }

/// The line with a function of ours in front of its command.
std::string as_function_call(const run_line& line) {
  if (is_pipeline(line)) {
    std::string text = line.text;
    return text.replace(text.find(pipe), pipe.size(), "\" | q /usr/bin/smbpasswd ");
  }
  std::string text = line.text;
  // The output goes to a file of the caller's choice: here its name is one more word.
  if (text.starts_with(process_list)) text.replace(6, 3, " ");
  return "p " + text;
}

std::string packed(const std::vector<std::string>& words) {
  std::string text = std::to_string(words.size()) + '\0';
  for (const std::string& word : words) text += word + '\0';
  return text;
}

/// What `echo -e` says: every backslash of a password was doubled for it.
std::string echoed(const std::string& operand) {
  std::string text;
  for (std::size_t i = 0; i < operand.size(); ++i) {
    if (operand[i] == '\\') ++i;
    text += operand[i];
  }
  return text;
}

std::string expected_words(const run_line& line) {
  if (is_pipeline(line)) {
    return echoed(line.commands[0].words.at(2)) + '\n' + packed(line.commands[1].words);
  }
  std::vector<std::string> words = line.commands.at(0).words;
  if (line.text.starts_with(process_list)) words.push_back(line.commands[0].output.value());
  return packed(words);
}

int run(const shell& reader) {
  std::vector<std::string> words = reader.start;
  words.emplace_back(script_path);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  char locale[] = "LC_ALL=C";
  char path[] = "PATH=/nowhere";
  char* environment[] = {locale, path, nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, errors_path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t child = 0;
  int status = -1;
  if (posix_spawn(&child, reader.start.at(0).c_str(), &actions, nullptr, arguments.data() + 1,
                  environment) == 0) {
    waitpid(child, &status, 0);
  }
  posix_spawn_file_actions_destroy(&actions);
  return status;
}

std::string first_difference(const std::string& wanted, const std::string& got) {
  std::size_t at = 0;
  while (at < wanted.size() && at < got.size() && wanted[at] == got[at]) ++at;
  const std::size_t from = at < 100 ? 0 : at - 100;
  return "wanted " + shown(wanted.substr(from, 200).substr(0, 200)) + "\ngot " +
         shown(got.substr(from, 200)) + "\nat byte " + std::to_string(at);
}

}  // namespace

std::vector<shell> known_shells() {
  return {{"bash as sh", {"/.sandbox/bin/bash", "sh"}, true},
          {"busybox sh", {"/.sandbox/bin/busybox", "sh"}, true}};
}

std::string difference(const shell& reader, const std::vector<run_line>& lines) {
  std::string script = functions;
  std::string wanted;
  for (const run_line& line : lines) {
    script += as_function_call(line) + '\n';
    wanted += expected_words(line);
  }
  sandbox::write_file(script_path, script, 0600);
  const int status = run(reader);
  const std::string got = sandbox::whole_file(words_path);
  const std::string errors = sandbox::whole_file(errors_path);
  for (const char* const path : {script_path, words_path, errors_path}) ::unlink(path);
  if (status == 0 && got == wanted && errors.empty()) return "";
  return "status " + std::to_string(status) + ", errors " + shown(errors) + '\n' +
         first_difference(wanted, got);
}

plain_lines read_plain(const std::vector<run_line>& lines) {
  plain_lines read;
  for (const run_line& line : lines) {
    const auto plain = orv::support::plain_command_of(line.text);
    if (!plain) continue;
    ++read.count;
    const bool is_right = line.commands.size() == 1 && plain->words == line.commands[0].words &&
                          plain->output == line.commands[0].output.value_or("");
    if (!is_right && read.misread.empty()) read.misread = shown(line.text);
  }
  return read;
}

}  // namespace security
