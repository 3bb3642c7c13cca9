// Adds shares of the NFS service one after the other: share_writer PREFIX COUNT makes PREFIX1,
// PREFIX2, ... and deletes each again but every fiftieth. A change whose files another process
// holds is tried again. Any other answer ends it.
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

int refusals = 0;

/// Repeats a change until it is made.
/// @param made_before  what it ends with when it was half made while the second file was locked
bool insist(const std::string& name, int (*change)(const std::string&), int made_before) {
  for (bool refused = false;; refused = true) {
    const int result = change(name);
    if (result == ORV_OK || (refused && result == made_before)) return true;
    if (result != ORV_E_SHARES_LOCKED && result != ORV_E_SERVICE_LOCKED) {
      std::printf("%s: %s\n", name.c_str(), orv_strerror(result));
      return false;
    }
    ++refusals;
    usleep(1000);
  }
}

int add(const std::string& name) {
  tag_share_config share = a_share(name);
  const int result = share_add(&share);
  share_conf_fini(&share);
  return result;
}

int remove_again(const std::string& name) { return share_del(name.c_str(), "nfs"); }

}  // namespace

int main(int, char** arguments) {
  const std::string prefix = arguments[1];
  const int count = std::atoi(arguments[2]);
  for (int i = 1; i <= count; ++i) {
    const std::string name = prefix + std::to_string(i);
    if (!insist(name, add, ORV_E_SHARE_EXISTS)) return 1;
    if (i % 50 != 0 && !insist(name, remove_again, ORV_OK)) return 1;
  }
  std::printf("%s: %d shares, %d refusals because of a lock\n", prefix.c_str(), count, refusals);
}
