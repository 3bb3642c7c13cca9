#include "system/state_file.h"

#include <orv/support.h>

namespace orv {

bool read_state(std::string_view model, const char* key, char* buffer, int size) {
  if (is_zor(model)) return ini_key_get("/var/run/sys_state", "status", key, buffer, size) == 0;
  return ini_key_get("/tmp/nas_state.conf", "misc", key, buffer, size) == 0;
}

}  // namespace orv
