// Adds shares of the NFS service one after the other: share_writer PREFIX COUNT makes PREFIX1,
// PREFIX2, ... A share whose files another process holds is tried again. Any other answer ends it.
#include <orv.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

tag_share_config a_share(const std::string& name) {
  tag_share_config share;
  share_conf_init(&share);
  liborv_strncpy(share.name, sizeof share.name, name.c_str());
  liborv_strncpy(share.path, sizeof share.path, ("/mnt/" + name).c_str());
  liborv_strncpy(share.service, sizeof share.service, "nfs");
  return share;
}

/// How often a share file was found locked on the way, or -1 when the share could not be added.
int add(const std::string& name) {
  for (int refusals = 0;; ++refusals) {
    tag_share_config share = a_share(name);
    const int result = share_add(&share);
    share_conf_fini(&share);
    // Refused at the second file, it is in the list by then: the next try finds it there.
    if (result == ORV_OK || (refusals > 0 && result == ORV_E_SHARE_EXISTS)) return refusals;
    if (result != ORV_E_SHARES_LOCKED && result != ORV_E_SERVICE_LOCKED) {
      std::printf("%s: %s\n", name.c_str(), orv_strerror(result));
      return -1;
    }
    usleep(1000);
  }
}

}  // namespace

int main(int, char** arguments) {
  const std::string prefix = arguments[1];
  const int count = std::atoi(arguments[2]);
  int refusals = 0;
  for (int i = 1; i <= count; ++i) {
    const int met = add(prefix + std::to_string(i));
    if (met < 0) return 1;
    refusals += met;
  }
  std::printf("%s: %d shares, %d refusals because of a lock\n", prefix.c_str(), count, refusals);
}
