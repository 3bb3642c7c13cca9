#include <orv/system.h>

#include "common/command.h"
#include "common/log.h"

int sys_shutdown() try {
  return orv::execute(orv::command("halt"));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int sys_reboot() try {
  return orv::execute(orv::command("reboot"));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int procinfo_get(const char* path) try {
  const orv::command list = orv::command("ps aux > %s", path).of_any_length();
  return orv::execute(list) == 0 ? ORV_OK : ORV_E_FAILED;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
