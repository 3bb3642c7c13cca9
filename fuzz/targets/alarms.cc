/// What the alarm daemon answers.

#include <orv/alarm.h>

#include "fuzz.h"
#include "system/alarm_unit.h"

FUZZ_TARGET(alarms, in) {
  the_machine.piece = in.byte() + 1;
  the_machine.from_peer = in.rest();
  const std::size_t units = the_machine.from_peer.size() / sizeof(orv::alarm_unit);
  fuzz::list<tag_alarm_list> alarms;
  const int result = alarm_get(alarms.get());
  EXPECT(result == ORV_OK || result == ORV_E_ALARM_REPLY || result == ORV_E_ALARM_ITEM);
  EXPECT((result == ORV_E_ALARM_REPLY) == (units == 0));
  constexpr std::size_t most_alarms = 255;
  alarms.check(std::min(most_alarms, units - (units == 0 ? 0 : 1)));
  for (const tag_alarm_info& alarm : alarms) {
    EXPECT(alarm.time[0] == '\0' || orv::text_of(alarm.time).size() == 19);
  }
}
