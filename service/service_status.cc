#include <orv/service.h>

#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <string>

#include "common/captured_output.h"
#include "common/first_line.h"
#include "common/log.h"
#include "common/text.h"

namespace {

int ask_for(const char* daemon, const orv::captured_output& answer) {
  if (!answer.fill(orv::command("/bin/busybox pidof %s > %s", daemon, answer.path()))) {
    return ORV_E_COMMAND;
  }
  return share_status_get(answer.path().c_str());
}

/// A service runs when all of its daemons do; the first that does not gives the result.
int status_of(const char* path_template, std::initializer_list<const char*> daemons,
              const char* function = __builtin_FUNCTION()) try {
  const orv::captured_output answer(path_template);
  for (const char* const daemon : daemons) {
    const int result = ask_for(daemon, answer);
    if (result != ORV_OK) return result;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_FAILED, function);
}

/// What the appliance's `strtoul`, of 32 bits, gives for the number that a line begins with: a
/// negative one is counted down from 2^32, and one that does not fit is all ones.
uint32_t number_in(const char* line) {
  constexpr long long largest = std::numeric_limits<uint32_t>::max();
  const long long number = std::strtoll(line, nullptr, 10);
  return static_cast<uint32_t>(-largest <= number && number <= largest ? number : largest);
}

constexpr uint32_t no_process = std::numeric_limits<uint32_t>::max();

}  // namespace

int smb_status_get() { return status_of("/tmp/smb_status.XXXXXX", {"smbd", "nmbd"}); }

int orv_status_get() { return status_of("/tmp/orv_status.XXXXXX", {"orv"}); }

int nfs_status_get() { return status_of("/tmp/nfs_status.XXXXXX", {"nfsd"}); }

int ftp_status_get() { return status_of("/tmp/ftp_status.XXXXXX", {"vsftpd"}); }

int iscsi_status_get() { return status_of("/tmp/iscsi_status.XXXXXX", {"ietd"}); }

int share_status_get(const char* path) try {
  char line[64] = "";
  const std::string answer(orv::text_or_empty(path));
  struct stat examined {};
  if (stat(answer.c_str(), &examined) != 0 ||
      !orv::read_first_line(answer.c_str(), line, sizeof line)) {
    orv::log_failure(ORV_E_FAILED);
    return ORV_E_STATUS_OUTPUT;
  }
  // Only the number of the first process counts; a line that begins with no number passes.
  return number_in(line) == no_process ? ORV_E_FAILED : ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
