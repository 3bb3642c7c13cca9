#include "common/device_use.h"

#include <fcntl.h>

#include <cerrno>
#include <string>

#include "common/handles.h"
#include "common/log.h"

namespace orv {

bool kernel_uses(std::string_view name) {
  std::string path("/dev/");
  path += name;
  // Without O_CREAT this asks a block device for exclusive use.
  const unique_descriptor device(open(path.c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC));
  if (device) return false;
  check_memory();
  return errno == EBUSY || errno == EMFILE || errno == ENFILE;
}

}  // namespace orv
