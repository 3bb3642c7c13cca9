#ifndef ORV_TESTS_SHARE_DISCOVERY_H
#define ORV_TESTS_SHARE_DISCOVERY_H

#include <string>

#include "tests/share/share_machine.h"

/// Steps of discovery, on a list of shares. Whatever a step does, nothing stays open or in /tmp.
class discovery_test : public share_test {
 protected:
  using step = int (*)(tag_shareconf_list*);

  void TearDown() override { expect_nothing_held(); }

  /// A share at the end of the list, whatever the names of the others.
  tag_share_config& add(const std::string& name, const std::string& service,
                        const std::string& path = "") {
    tag_share_config added;
    share_conf_init(&added);
    set_field(added.name, "\n");  // the list takes no two shares of one name when they are added
    list.add(added);
    tag_share_config& share = *list.records().back();
    set_field(share.name, name);
    set_field(share.service, service);
    set_field(share.path, path);
    return share;
  }

  /// A step that has nothing to say but in its records.
  sandbox::lines after(step find) {
    EXPECT_EQ(find(list.get()), ORV_OK);
    EXPECT_EQ(machine.log(), "");
    return list.told();
  }

  void expect_refusal_of_null(step find, const std::string& function) {
    EXPECT_EQ(find(nullptr), ORV_E_FAILED);
    EXPECT_EQ(machine.log(), refusal(function, ORV_E_FAILED, "Invalid argument"));
    EXPECT_THAT(machine.commands(), testing::IsEmpty());
  }

  share_list list;
};

#endif
