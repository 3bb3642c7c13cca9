/// The clock is never set: what the library hands to the system is written down.
#include <orv/system.h>
#include <sys/time.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <vector>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct clock_setting {
  std::optional<timeval> time;
  bool with_zone;
  sandbox::lines commands_before;
};

std::vector<clock_setting> settings;
const sandbox::machine* machine_of_test = nullptr;
int refusal = 0;

}  // namespace

// Comes before the C library's, for the library under test too.
extern "C" __attribute__((visibility("default"))) int settimeofday(
    const timeval* time, const struct timezone* zone) noexcept {
  settings.push_back({time == nullptr ? std::nullopt : std::optional(*time), zone != nullptr,
                      machine_of_test->commands()});
  // As the C library has it: a time and a zone at once are refused.
  if (refusal == 0 && time != nullptr && zone != nullptr) refusal = EINVAL;
  if (refusal != 0) errno = refusal;
  return refusal == 0 ? 0 : -1;
}

class clock_set : public sandbox_test {
 protected:
  clock_set() {
    settings.clear();
    refusal = 0;
    machine_of_test = &machine;
    zone("UTC0");
    machine.tool("hwclock").on("...").if_asked();
  }
  ~clock_set() override { unsetenv("TZ"); }

  static void zone(const char* name) {
    setenv("TZ", name, 1);
    tzset();
  }

  /// The second to which the clock was set by one call.
  static long second_of(const tag_datetime& time) {
    settings.clear();
    EXPECT_EQ(systime_set(&time), ORV_OK);
    EXPECT_EQ(settings.size(), 1U);
    if (settings.size() != 1 || !settings[0].time) return -2;
    EXPECT_EQ(settings[0].time->tv_usec, 0);
    EXPECT_FALSE(settings[0].with_zone);
    return settings[0].time->tv_sec;
  }
};

TEST_F(clock_set, takes_the_time_alone_and_then_the_hardware_clock) {
  EXPECT_EQ(second_of({2010, 3, 1, 8, 0, 0}), 1267430400);
  EXPECT_THAT(settings.at(0).commands_before, IsEmpty());
  EXPECT_THAT(machine.commands(), ElementsAre("hwclock -u -w"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(clock_set, months_count_from_1) {
  EXPECT_EQ(second_of({2010, 1, 1, 0, 0, 0}), 1262304000);
  EXPECT_EQ(second_of({2010, 12, 31, 23, 59, 59}), 1293839999);
}

TEST_F(clock_set, time_is_local) {
  zone("JST-9");
  EXPECT_EQ(second_of({2010, 3, 1, 17, 0, 0}), 1267430400);
}

TEST_F(clock_set, daylight_saving_time_is_that_of_the_zone) {
  zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(second_of({2010, 1, 1, 1, 0, 0}), 1262304000);
  EXPECT_EQ(second_of({2010, 7, 1, 2, 0, 0}), 1277942400);
}

TEST_F(clock_set, fields_out_of_range_count_on) {
  EXPECT_EQ(second_of({2010, 2, 30, 0, 0, 0}), second_of({2010, 3, 2, 0, 0, 0}));
  EXPECT_EQ(second_of({2009, 13, 1, 0, 0, 0}), second_of({2010, 1, 1, 0, 0, 0}));
  EXPECT_EQ(second_of({2010, 1, 1, 0, 0, 60}), second_of({2010, 1, 1, 0, 1, 0}));
}

TEST_F(clock_set, last_second_before_1970_is_a_time) {
  EXPECT_EQ(second_of({1969, 12, 31, 23, 59, 59}), -1);
}

TEST_F(clock_set, years_beyond_2038_are_times) {
  EXPECT_EQ(second_of({2050, 1, 1, 0, 0, 0}), 2524608000);
}

TEST_F(clock_set, hardware_clock_that_cannot_be_set_does_not_matter) {
  machine.tool("hwclock").on("-u -w").fails(1).times(1);
  machine.tool("hwclock").on("-u -w").dies_of(SIGKILL);
  EXPECT_EQ(second_of({2010, 1, 1, 0, 0, 0}), 1262304000);
  EXPECT_EQ(second_of({2010, 1, 1, 0, 0, 0}), 1262304000);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(clock_set, system_without_a_hardware_clock_does_not_matter) {
  machine.remove("/bin/hwclock");
  machine.tool("/bin/hwclock").is_missing();
  EXPECT_EQ(second_of({2010, 1, 1, 0, 0, 0}), 1262304000);
}

TEST_F(clock_set, that_the_system_refuses_is_reported) {
  refusal = EPERM;
  const tag_datetime time = {2010, 1, 1, 0, 0, 0};
  EXPECT_EQ(systime_set(&time), -2005);
  EXPECT_EQ(machine.log(), "execute 'Settimeofday' error for 'Operation not permitted'\n");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(clock_set, that_cannot_be_asked_is_not_set) {
  machine.fail("gettimeofday", EFAULT);
  const tag_datetime time = {2010, 1, 1, 0, 0, 0};
  EXPECT_EQ(systime_set(&time), -2004);
  EXPECT_EQ(machine.log(), "execute 'gettimeofday' error for 'Bad address'\n");
  EXPECT_THAT(settings, IsEmpty());
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(clock_set, time_beyond_any_calendar_is_refused) {
  const std::vector<tag_datetime> times = {{INT_MIN, 1, 1, 0, 0, 0},
                                           {2010, INT_MIN, 1, 0, 0, 0},
                                           {INT_MAX, 12, INT_MAX, INT_MAX, INT_MAX, INT_MAX}};
  for (const tag_datetime& time : times) {
    machine.forget();
    EXPECT_EQ(systime_set(&time), -2005);
    EXPECT_EQ(machine.log(),
              "execute 'Settimeofday' error for 'Value too large for defined data type'\n");
  }
  EXPECT_THAT(settings, IsEmpty());
}

TEST_F(clock_set, needs_a_time) {
  EXPECT_EQ(systime_set(nullptr), ORV_E_FAILED);
  EXPECT_THAT(settings, IsEmpty());
}
