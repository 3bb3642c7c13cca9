// Every fake tool of the machine: writes down its call and gives the canned answer that fits.
#include <poll.h>
#include <sys/auxv.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>

#include "canned_answer.h"

namespace {

using sandbox::canned_answer;
using sandbox::record;

const char* own_path() {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel hands pointers over as numbers
  return reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
}

// By their numbers.
using answers = std::map<int, canned_answer>;

answers own_answers() {
  answers found;
  std::error_code no_answers;
  for (const auto& file :
       std::filesystem::directory_iterator(sandbox::answers_of(own_path()), no_answers)) {
    const auto records = sandbox::unpacked(sandbox::whole_file(file.path().c_str()));
    found[std::stoi(file.path().filename())] = sandbox::to_answer(records.at(0));
  }
  return found;
}

std::map<int, int> uses_so_far() {
  std::map<int, int> uses;
  for (const auto& call : sandbox::unpacked(sandbox::whole_file(sandbox::calls_file)))
    ++uses[std::stoi(call.at(sandbox::call_answer))];
  return uses;
}

// Among answers that are equally close each is given once, in order; then the last without a
// limit goes on answering. -1: none.
int choose(const answers& own, const record& arguments) {
  auto uses = uses_so_far();
  for (int close = sandbox::exact_words; close <= sandbox::any_words; ++close) {
    int unlimited = -1;
    for (const auto& [number, answer] : own) {
      if (answer.close != close || !fits(answer, arguments)) continue;
      if (uses[number] < (answer.times == 0 ? 1 : answer.times)) return number;
      if (answer.times == 0) unlimited = number;
    }
    if (unlimited >= 0) return unlimited;
  }
  return -1;
}

std::string kind_of_input() {
  struct stat input {};
  if (::fstat(STDIN_FILENO, &input) != 0) return "closed";
  if (S_ISCHR(input.st_mode)) return input.st_rdev == ::makedev(1, 3) ? "/dev/null" : "device";
  if (S_ISFIFO(input.st_mode)) return "pipe";
  return S_ISSOCK(input.st_mode) ? "socket" : "file";
}

bool is_shell_trace(int descriptor) {
  struct stat mine {
  }, trace{};
  return ::fstat(descriptor, &mine) == 0 && ::stat(sandbox::trace_file, &trace) == 0 &&
         mine.st_dev == trace.st_dev && mine.st_ino == trace.st_ino;
}

// Descriptors that were passed on to the tool, above the three standard ones.
std::string inherited_descriptors() {
  std::vector<pollfd> slots(512);
  for (size_t i = 0; i < slots.size(); ++i) slots[i] = {static_cast<int>(i) + 3, 0, 0};
  ::poll(slots.data(), slots.size(), 0);
  std::string numbers;
  for (const auto& slot : slots) {
    if ((slot.revents & POLLNVAL) == 0 && !is_shell_trace(slot.fd))
      numbers += std::to_string(slot.fd) + ' ';
  }
  return numbers;
}

// How the tool was started; taken before it opens anything itself.
struct surroundings {
  std::string input = kind_of_input();
  std::string descriptors = inherited_descriptors();
  bool by_shell = std::getenv(sandbox::noted_name) != nullptr;
};

// The name of the file that the output goes to; "" when the machine has none such.
std::string file_of_output() {
  struct stat mine {};
  if (::fstat(STDOUT_FILENO, &mine) != 0) return "";
  std::error_code error;
  for (std::filesystem::recursive_directory_iterator entry("/", error), end; entry != end;
       entry.increment(error)) {
    const auto path = entry->path();
    if (path == "/.sandbox") entry.disable_recursion_pending();
    struct stat found {};
    if (::lstat(path.c_str(), &found) == 0 && found.st_dev == mine.st_dev &&
        found.st_ino == mine.st_ino)
      return path;
  }
  return "";
}

// Where the machine's shell has the name of a real one, plain command lines are run without it: the
// tool writes down then what the shell would have been given.
bool note_command(char** argv) {
  char link[64];
  const ssize_t size = ::readlink("/bin/sh", link, sizeof link);
  if (size < 0 || std::string_view(link, static_cast<size_t>(size)) == sandbox::shell) return true;
  std::string line = argv[0];
  for (char** word = argv + 1; *word != nullptr; ++word) line += std::string(" ") + *word;
  const auto output = file_of_output();
  if (!output.empty()) line += " > " + output;
  return sandbox::append_record(sandbox::commands_file, {line});
}

record call_record(int answer, const surroundings& start, char** argv) {
  record environment;
  for (char** entry = environ; *entry != nullptr; ++entry)
    if (!std::string_view(*entry).starts_with(sandbox::noted_name))
      environment.emplace_back(*entry);
  record call = {std::to_string(answer),
                 own_path(),
                 start.input,
                 start.descriptors,
                 start.by_shell ? "shell" : "",
                 std::to_string(environment.size())};
  call.insert(call.end(), environment.begin(), environment.end());
  for (; *argv != nullptr; ++argv) call.emplace_back(*argv);
  return call;
}

// The child has a clean environment and finds real applets only, no fakes.
int run_script(const std::string& script, int argc, char** argv) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::clearenv();
    ::setenv("PATH", "/.sandbox/bin/applets", 1);
    ::setenv(sandbox::miss_handler_name, sandbox::miss_handler, 1);
    ::setenv(sandbox::noted_name, "", 1);
    std::string words[] = {"bash", "-c", script};
    std::vector<char*> arguments = {words[0].data(), words[1].data(), words[2].data()};
    arguments.insert(arguments.end(), argv, argv + argc + 1);
    ::execv("/.sandbox/bin/bash", arguments.data());
    ::_exit(125);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int give(const canned_answer& answer, int argc, char** argv) {
  if (answer.delay > 0) ::poll(nullptr, 0, answer.delay);
  if (answer.real) {
    ::execv(sandbox::real_tool_for(answer.tool).c_str(), argv);
    std::perror(answer.tool.c_str());
    return 125;
  }
  sandbox::write_whole(STDOUT_FILENO, answer.output);
  sandbox::write_whole(STDERR_FILENO, answer.errors);
  const int result = answer.script.empty() ? 0 : run_script(answer.script, argc, argv);
  if (answer.signal != 0) {
    const rlimit no_core = {0, 0};
    ::setrlimit(RLIMIT_CORE, &no_core);
    ::signal(answer.signal, SIG_DFL);
    ::raise(answer.signal);
  }
  return answer.exit_code >= 0 ? answer.exit_code : result;
}

std::string all_from(int file) {
  std::string text;
  char block[4096];
  for (ssize_t got; (got = ::read(file, block, sizeof block)) > 0;)
    text.append(block, static_cast<size_t>(got));
  return text;
}

// Gives the answer in a child. Its standard output goes to `text`.
int give_into(std::string& text, const canned_answer& answer, int argc, char** argv) {
  int ends[2];
  if (::pipe(ends) != 0) return 125;
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
    ::_exit(give(answer, argc, argv));
  }
  ::close(ends[1]);
  text = all_from(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A tool that fails or is killed has done nothing before; one whose output is bad has done its
// work.
int misbehave(const std::string& how, const canned_answer& answer, int argc, char** argv) {
  if (how == "fails") return 5;
  if (how == "is killed") ::raise(SIGKILL);
  std::string text;
  const int result = give_into(text, answer, argc, argv);
  if (how == "prints half") sandbox::write_whole(STDOUT_FILENO, text.substr(0, text.size() / 2));
  if (how == "prints garbage")
    sandbox::write_whole(STDOUT_FILENO, std::string("\xff\x01:::/ [\n\n=-1 \t\x80", 17) +
                                            text.substr(text.size() / 3) + std::string(3000, '%') +
                                            '\0');
  return result;
}

// The misbehaviour planned for this call, the first being number 0; "" for none. It stands in a
// file as "NUMBER HOW".
std::string misbehaviour() {
  const auto plan = sandbox::whole_file(sandbox::misbehaviour_file);
  if (plan.empty()) return "";
  const auto calls = sandbox::unpacked(sandbox::whole_file(sandbox::calls_file)).size();
  const auto number = plan.substr(0, plan.find(' '));
  return number == std::to_string(calls) ? plan.substr(number.size() + 1) : "";
}

}  // namespace

int main(int argc, char** argv) {
  const surroundings start;
  const int calls = ::open(sandbox::calls_file, O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
  ::flock(calls, LOCK_EX);  // one call at a time chooses its answer
  const auto how = misbehaviour();
  const auto own = own_answers();
  const int number = choose(own, {argv + 1, argv + argc});
  const bool written =
      (start.by_shell || note_command(argv)) &&
      sandbox::append_record(sandbox::calls_file, call_record(number, start, argv));
  ::close(calls);
  if (!written) {
    std::perror(sandbox::calls_file);
    return 125;
  }
  if (number < 0) {
    std::fprintf(stderr, "%s: the test gives no answer to this call\n", own_path());
    return 127;
  }
  ::setenv(sandbox::noted_name, "", 1);  // what it starts itself is no command line
  const auto& answer = own.at(number);
  return how.empty() ? give(answer, argc, argv) : misbehave(how, answer, argc, argv);
}
