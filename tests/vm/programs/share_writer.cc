// Adds shares of the NFS service one after the other: share_writer PREFIX COUNT makes PREFIX1,
// PREFIX2, ... and deletes each again but every fiftieth. A change whose files another process
// holds is tried again. Any other answer ends it.
#include <orv.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/share/insist.h"

namespace {

tag_share_config a_share(const std::string& name) {
  tag_share_config share;
  share_conf_init(&share);
  liborv_strncpy(share.name, sizeof share.name, name.c_str());
  liborv_strncpy(share.path, sizeof share.path, ("/mnt/" + name).c_str());
  liborv_strncpy(share.service, sizeof share.service, "nfs");
  return share;
}

int add(const std::string& name) {
  tag_share_config share = a_share(name);
  return insist([&] { return share_add(&share); }, ORV_E_SHARE_EXISTS);
}

int remove_again(const std::string& name) {
  return insist([&] { return share_del(name.c_str(), "nfs"); }, ORV_OK);
}

}  // namespace

int main(int, char** arguments) {
  const std::string prefix = arguments[1];
  const int count = std::atoi(arguments[2]);
  int refusals = 0;
  for (int i = 1; i <= count; ++i) {
    const std::string name = prefix + std::to_string(i);
    const int adding = add(name);
    const int removing = adding < 0 || i % 50 == 0 ? 0 : remove_again(name);
    if (adding < 0 || removing < 0) {
      std::printf("%s cannot be changed\n", name.c_str());
      return 1;
    }
    refusals += adding + removing;
  }
  std::printf("%s: %d shares, %d refusals because of a lock\n", prefix.c_str(), count, refusals);
}
