#include "driver.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <new>

#include "run.h"

namespace faults {
namespace {

const char* name_of(int error) {
  switch (error) {
    case EIO:
      return "EIO";
    case ENOSPC:
      return "ENOSPC";
    case EINTR:
      return "EINTR";
    case EMFILE:
      return "EMFILE";
    default:
      return "ENOMEM";
  }
}

void add_call_faults(const outcome& good, std::vector<fault>& all) {
  for (std::size_t i = 0; i < good.calls.size(); ++i)
    for (const int error : good.calls[i].errors)
      for (const bool for_ever : {false, true})
        all.push_back({.text = std::string(name_of(error)) + (for_ever ? " from" : " at") +
                               " system call " + std::to_string(i) + ", " + good.calls[i].text,
                       .call = {static_cast<int>(i), error, for_ever}});
}

void add_allocation_faults(const outcome& good, std::vector<fault>& all) {
  for (long i = 0; i < good.allocations; ++i)
    for (const bool for_ever : {false, true})
      all.push_back({.text = std::string("no memory ") + (for_ever ? "from" : "at") +
                             " allocation " + std::to_string(i),
                     .allocation = {i, for_ever}});
}

void add_tool_faults(const outcome& good, std::vector<fault>& all) {
  for (std::size_t i = 0; i < good.tools.size(); ++i)
    for (const char* how :
         {"fails", "is killed", "prints nothing", "prints half", "prints garbage"})
      all.push_back({.text = "tool " + std::to_string(i) + ", " + good.tools[i] + ", " + how,
                     .tool = static_cast<int>(i),
                     .misbehaviour = how});
}

/// Of all faults as many as are wanted, spread evenly. The distance is odd, so that the kinds of
/// faults take turns.
std::vector<fault> some_of(const std::vector<fault>& all, std::size_t tools) {
  const std::size_t most = std::max<std::size_t>(4, 40 / (2 + tools));
  if (all.size() <= most) return all;
  std::vector<fault> some;
  const std::size_t distance = (all.size() / most) | 1U;
  for (std::size_t i = distance / 2; i < all.size(); i += distance) some.push_back(all[i]);
  return some;
}

/// Whoever mends a finding tries its kind only: ORV_FAULTS_OF is a part of their descriptions.
void keep_those_asked_for(std::vector<fault>& all) {
  const char* const part = std::getenv("ORV_FAULTS_OF");
  if (part == nullptr) return;
  std::erase_if(all, [part](const fault& one) { return one.text.find(part) == one.text.npos; });
}

/// What the driving child tells its parent, who goes on when it dies.
struct progress {
  int system_calls;
  int allocations;
  int tools;
  int faults;
  std::size_t next;
  bool ready;
  char now[512];
};

class driving {
  static constexpr unsigned longest_run = 20;  // seconds

 public:
  driving(const subject& driven, thoroughness wanted, progress& shared, int report)
      : driven_(driven), wanted_(wanted), shared_(shared), report_(report) {}

  /// Runs in the child.
  void go(std::size_t first) {
    say_now("without a fault");
    ::alarm(longest_run);
    run(driven_, {});  // what is made once and kept is made here
    const outcome good = run(driven_, {}, true);
    if (good.result != driven_.expected || !good.thrown.empty())
      tell("without a fault: result " + std::to_string(good.result) + " " + good.thrown);
    for (const auto& held : good.held) tell("without a fault: holds " + held);
    if (!driven_.shell.empty()) {
      if (good.tools.empty()) tell("without a fault: runs no tool");
      for (const auto& tool : good.tools_of_a_shell) tell("without a fault: a shell ran " + tool);
    }
    if (std::getenv("ORV_FAULTS_SHOW") != nullptr) show(good);
    std::vector<fault> all;
    add_call_faults(good, all);
    add_allocation_faults(good, all);
    add_tool_faults(good, all);
    keep_those_asked_for(all);
    const std::vector<fault> some =
        wanted_ == thoroughness::all ? all : some_of(all, good.tools.size());
    shared_.system_calls = static_cast<int>(good.calls.size());
    shared_.allocations = static_cast<int>(good.allocations);
    shared_.tools = static_cast<int>(good.tools.size());
    shared_.faults = static_cast<int>(some.size());
    shared_.ready = true;
    for (std::size_t i = first; i < some.size(); ++i) {
      shared_.next = i + 1;
      try_one(some[i], good);
    }
  }

 private:
  void try_one(const fault& failing, const outcome& good) {
    say_now(failing.text);
    ::alarm(longest_run);
    outcome got = run(driven_, failing);
    // Something that is made once and then kept is no leak: it would not be made again.
    if (got.unreleased > good.unreleased) got = run(driven_, failing);
    for (const auto& finding : findings(driven_, failing, good, got))
      tell(failing.text + ": result " + std::to_string(got.result) + ", " + finding);
  }

  void show(const outcome& good) const {
    for (const auto& call : good.calls) tell("  " + call.text);
    for (const auto& tool : good.tools) tell("  tool " + tool);
    for (const auto& line : good.commands) tell("  command " + line);
    tell(good.told);
    for (const auto& [path, text] : good.after) {
      const auto before = good.before.find(path);
      if (before == good.before.end() || before->second != text) tell(path + ":\n" + text);
    }
  }

  void say_now(const std::string& text) const {
    shared_.now[text.copy(shared_.now, sizeof shared_.now - 1)] = '\0';
  }
  void tell(std::string line) const {
    std::replace(line.begin(), line.end(), '\0', '.');
    line += '\0';
    (void)!::write(report_, line.data(), line.size());
  }

  const subject& driven_;
  thoroughness wanted_;
  progress& shared_;
  int report_;
};

std::string all_from(int file) {
  std::string text;
  char block[4096];
  for (ssize_t got; (got = ::read(file, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(got));
  return text;
}

/// The threads of a run and its tools take turns: on one core that costs half as much as on two.
void stay_on_this_core() {
  cpu_set_t core;
  CPU_ZERO(&core);
  CPU_SET(static_cast<std::size_t>(::sched_getcpu()), &core);
  ::sched_setaffinity(0, sizeof core, &core);
}

/// Runs the driving in a child, whose standard output nobody needs. @return its wait status
int in_child(driving& work, std::size_t first, int report, int listen, std::string& told) {
  const pid_t child = ::fork();
  if (child == 0) {
    stay_on_this_core();
    const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (std::getenv("ORV_FAULTS_SHOW") == nullptr) ::dup2(nothing, STDOUT_FILENO);
    ::close(listen);
    work.go(first);
    ::_exit(0);
  }
  ::close(report);
  told += all_from(listen);
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

void split_into(const std::string& told, const std::string& name, std::vector<std::string>& found) {
  for (std::size_t start = 0, end = 0; (end = told.find('\0', start)) != std::string::npos;
       start = end + 1)
    found.push_back(name + ": " + told.substr(start, end - start));
}

}  // namespace

tally drive(const subject& driven, thoroughness wanted) {
  void* const memory =
      ::mmap(nullptr, sizeof(progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto& shared = *new (memory) progress{};
  const std::string name = driven.name + (driven.variant.empty() ? "" : " " + driven.variant);
  tally result;
  constexpr int most_deaths = 10;
  for (int deaths = 0; deaths <= most_deaths; ++deaths) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) break;
    driving work(driven, wanted, shared, ends[1]);
    std::string told;
    const int status = in_child(work, shared.next, ends[1], ends[0], told);
    ::close(ends[0]);
    split_into(told, name, result.findings);
    if (status == 0) break;
    result.findings.push_back(name + ": " + shared.now +
                              (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM
                                   ? ": never ends"
                                   : ": dies with status " + std::to_string(status)));
    if (!shared.ready) break;
  }
  result.system_calls = shared.system_calls;
  result.allocations = shared.allocations;
  result.tools = shared.tools;
  result.faults = shared.faults;
  ::munmap(memory, sizeof(progress));
  return result;
}

const std::vector<subject>& all_subjects() {
  static const std::vector<subject> all = [] {
    std::vector<subject> found;
    for (const auto& some :
         {support_subjects(), system_subjects(), disk_subjects(), raid_subjects(), lvm_subjects(),
          fs_subjects(), share_subjects(), service_subjects(), user_subjects()})
      found.insert(found.end(), some.begin(), some.end());
    return found;
  }();
  return all;
}

}  // namespace faults
