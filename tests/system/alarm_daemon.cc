#include "tests/system/alarm_daemon.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

#include "tests/sandbox/jail.h"

namespace {

constexpr char program[] = "/usr/local/bin/alarmd";
constexpr char socket_path[] = "/dev/alarm.socket";
constexpr char alarms_path[] = "/var/lib/orv-sim/alarms";
constexpr char pieces_path[] = "/var/lib/orv-sim/alarm_pieces";

/// Leaves the fake machine, but for the working directory: relative paths lead into it.
[[noreturn]] void become_daemon(int machine_root, int host_root) {
  // The daemon ends with the test, however that ends.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const char* const arguments[] = {"/usr/bin/perl", program + 1, nullptr};
  const char* const environment[] = {"ORV_SIM_ALARM_SOCKET=dev/alarm.socket",
                                     "ORV_SIM_STATE=var/lib/orv-sim", nullptr};
  if (fchdir(host_root) == 0 && chroot(".") == 0 && fchdir(machine_root) == 0) {
    execve(arguments[0], const_cast<char**>(arguments), const_cast<char**>(environment));
  }
  std::perror("alarmd");
  _exit(1);
}

}  // namespace

alarm_daemon::alarm_daemon(sandbox::machine& machine) : machine_(machine) {
  machine.file(program, sandbox::fixture("../simulators/alarmd"), 0755);
  has("");
  sends("");
  const int machine_root = open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
  const int host_root = sandbox::open_on_host("/", O_PATH | O_DIRECTORY);
  process_ = fork();
  if (process_ == 0) become_daemon(machine_root, host_root);
  close(machine_root);
  close(host_root);
  while (process_ < 0 || !machine.exists(socket_path)) {
    if (process_ < 0 || waitpid(process_, nullptr, WNOHANG) != 0) {
      throw std::runtime_error("the alarm daemon does not run");
    }
    usleep(1000);
  }
}

alarm_daemon::~alarm_daemon() {
  // Perl handles a signal that comes just before it waits for a caller once it has one.
  do {
    kill(process_, SIGTERM);
    usleep(1000);
  } while (waitpid(process_, nullptr, WNOHANG) == 0);
}

void alarm_daemon::has(const std::string& alarms) { machine_.file(alarms_path, alarms); }

void alarm_daemon::sends(const std::string& pieces) { machine_.file(pieces_path, pieces); }

sandbox::lines alarm_test::alarms() const {
  sandbox::lines all;
  for (const list_node* node = list.node.next; node != &list.node; node = node->next) {
    const auto& alarm = *reinterpret_cast<const tag_alarm_info*>(
        reinterpret_cast<const char*>(node) - offsetof(tag_alarm_info, node));
    all.push_back(std::string(alarm.id) + "|" + alarm.time + "|" + alarm.name + "|" + alarm.text);
  }
  return all;
}
