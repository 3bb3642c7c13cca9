/// The FTP server's limits, the users' own configurations, and the directories in their homes.

#include <orv/service.h>
#include <orv/share.h>

#include "fuzz.h"

namespace {

struct limits {
  unsigned rate = 7;
  unsigned clients = 7;
  unsigned per_ip = 7;
  bool operator==(const limits&) const = default;
};

limits read_limits() {
  limits read;
  EXPECT(ftp_share_para_get(&read.rate, &read.clients, &read.per_ip) == ORV_OK);
  return read;
}

void change_limits(fuzz::input& in) {
  const unsigned changed = in.byte() << 24 | in.byte() << 16 | in.byte();
  the_machine.put("/etc/vsftpd.conf", in.rest());
  const limits before = read_limits();
  // What is written back is what was read.
  EXPECT(ftp_share_para_set(before.rate, before.clients, before.per_ip) == ORV_OK);
  EXPECT(read_limits() == before);
  const std::string rewritten = *the_machine.text("/etc/vsftpd.conf");
  EXPECT(ftp_share_para_set(before.rate, before.clients, before.per_ip) == ORV_OK);
  EXPECT(*the_machine.text("/etc/vsftpd.conf") == rewritten);
  EXPECT(ftp_share_para_set(changed, before.clients, before.per_ip) == ORV_OK);
  const limits after = read_limits();
  EXPECT((after.rate == changed || after.rate == before.rate) && after.clients == before.clients);
}

void find_users(fuzz::input& in) {
  fuzz::list<tag_shareconf_list> shares;
  for (const char* const name : {"data", "public"}) {
    tag_share_config* const share = orv::append(shares.get());
    orv::set_text(share->name, name);
    orv::set_text(share->service, "ftp");
  }
  const std::string user = in.word();
  const std::string folder = in.word();
  if (!user.empty()) the_machine.put("/home/" + user + '/' + folder + "/file", "");
  if (!user.empty()) the_machine.put("/etc/vsftpd/" + user, in.rest());
  EXPECT(get_shareinfo_from_ftpconf(shares.get()) == ORV_OK);
  shares.check(2);
  find_one_user(user.c_str(), shares.get());
  find_sub_user(user.c_str(), shares.get());
  shares.check(2);
  for (const tag_share_config& share : shares) EXPECT(share.writable == 0 || share.writable == 1);
}

}  // namespace

FUZZ_TARGET(ftp, in) {
  if (in.below(2) == 0) return change_limits(in);
  find_users(in);
}
