/// The user file.

#include <orv/share.h>
#include <orv/user.h>

#include "fuzz.h"

FUZZ_TARGET(users, in) {
  constexpr char path[] = "/etc/nas_userfile.conf";
  const std::string name = in.word();
  const std::string text(in.rest());
  the_machine.put(path, text);
  fuzz::list<tag_user_info_list> users;
  EXPECT(get_users_from_conf(users.get()) == ORV_OK);
  users.check(fuzz::lines_in(text));

  char password[24] = "";
  EXPECT(get_pwd_from_conf(name.c_str(), password, sizeof password) == ORV_OK);
  EXPECT(orv::text_of(password).size() < sizeof password);

  // A list that was written reads back as itself, once what cannot be kept is gone.
  EXPECT(set_users_to_conf(users.get()) == ORV_OK);
  fuzz::list<tag_user_info_list> kept;
  EXPECT(get_users_from_conf(kept.get()) == ORV_OK);
  const std::string first = kept.check(users.count());
  EXPECT(kept.count() == users.count());
  EXPECT(set_users_to_conf(kept.get()) == ORV_OK);
  fuzz::list<tag_user_info_list> again;
  EXPECT(get_users_from_conf(again.get()) == ORV_OK);
  EXPECT(again.check(users.count()) == first);
}
