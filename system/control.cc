#include <orv/system.h>

#include "common/command.h"

int sys_shutdown() { return orv::execute(orv::command("halt")); }

int sys_reboot() { return orv::execute(orv::command("reboot")); }

int procinfo_get(const char* path) {
  const orv::command list = orv::command("ps aux > %s", path).of_any_length();
  return orv::execute(list) == 0 ? ORV_OK : ORV_E_FAILED;
}
