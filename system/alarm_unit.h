#ifndef ORV_SYSTEM_ALARM_UNIT_H
#define ORV_SYSTEM_ALARM_UNIT_H

#include <cstddef>
#include <cstdint>

namespace orv {

/// What the alarm daemon and its clients send each other, in the machine's byte order. A question
/// is one unit of which only the command is set. An answer is a unit that says how many alarms
/// follow in the first byte of its name, and then one unit for each alarm; an empty name ends it
/// early.
struct alarm_unit {
  int32_t command;
  char name[64];
  char text[256];
  int32_t reserved;
  int32_t time;  ///< seconds since 1970, UTC
  int32_t id;
  char reserved_too[180];

  static constexpr int32_t get_alarms = 1;  ///< the command of a question

  unsigned count() const { return static_cast<unsigned char>(name[0]); }
  bool ends_the_list() const { return name[0] == '\0'; }
};

static_assert(sizeof(alarm_unit) == 516 && offsetof(alarm_unit, name) == 4 &&
              offsetof(alarm_unit, text) == 68 && offsetof(alarm_unit, reserved) == 324 &&
              offsetof(alarm_unit, time) == 328 && offsetof(alarm_unit, id) == 332);

}  // namespace orv

#endif
