#include "system/state_file.h"

#include <orv/support.h>

#include "common/own_file.h"

namespace orv {

bool read_state(std::string_view model, const char* key, char* buffer, int size) {
  if (is_zor(model)) return ini_key_get("/var/run/sys_state", "status", key, buffer, size) == 0;
  constexpr char path[] = "/tmp/nas_state.conf";
  return is_own_file(path) && ini_key_get(path, "misc", key, buffer, size) == 0;
}

}  // namespace orv
