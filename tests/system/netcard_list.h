#ifndef ORV_TESTS_SYSTEM_NETCARD_LIST_H
#define ORV_TESTS_SYSTEM_NETCARD_LIST_H

#include <orv/network.h>

#include <string>

#include "tests/sandbox/sandbox.h"

/// A list of network interfaces, and every text of each of them.
class netcard_test : public sandbox_test {
 protected:
  netcard_test() { netcard_list_init(&list); }
  ~netcard_test() override { netcard_list_fini(&list); }

  sandbox::lines cards() const {
    sandbox::lines all;
    for (const list_node* node = list.node.next; node != &list.node; node = node->next) {
      const auto& card = *reinterpret_cast<const tag_netcard*>(reinterpret_cast<const char*>(node) -
                                                               offsetof(tag_netcard, node));
      all.push_back(std::string(card.name) + "|" + card.ip + "|" + card.netmask + "|" +
                    card.gateway + "|" + card.mac);
    }
    return all;
  }

  tag_netcard_list list;
};

#endif
