#ifndef ORV_TESTS_SYSTEM_ALARM_DAEMON_H
#define ORV_TESTS_SYSTEM_ALARM_DAEMON_H

#include <orv/alarm.h>
#include <sys/types.h>

#include <string>

#include "tests/sandbox/sandbox.h"

/// The simulated alarm daemon. It runs outside the fake machine, where perl is, and works inside.
class alarm_daemon {
 public:
  /// Returns when the daemon answers on "/dev/alarm.socket".
  explicit alarm_daemon(sandbox::machine& machine);
  ~alarm_daemon();
  alarm_daemon(const alarm_daemon&) = delete;
  alarm_daemon& operator=(const alarm_daemon&) = delete;

  /// The lines "ID|TIME|NAME|TEXT" of the list that it answers with.
  void has(const std::string& alarms);
  /// How it sends the next answers: see tests/simulators/alarmd.
  void sends(const std::string& pieces);

 private:
  sandbox::machine& machine_;
  pid_t process_;
};

/// A list of alarms, and every field of each of them.
class alarm_test : public sandbox_test {
 protected:
  alarm_test() { alarm_list_init(&list); }
  ~alarm_test() override { alarm_list_fini(&list); }

  sandbox::lines alarms() const;

  tag_alarm_list list;
};

#endif
