/// Network interfaces: what the kernel answers, and the gateways in "/etc/network/interfaces".

#include <orv/network.h>
#include <orv/service.h>

#include "fuzz.h"

FUZZ_TARGET(network, in) {
  constexpr char path[] = "/etc/network/interfaces";
  const std::string name = in.word();
  the_machine.put(path, in.part());
  char gateway[16] = "as it was";
  const int result = get_gateway(path, name.c_str(), gateway);
  EXPECT(result == ORV_OK || result == ORV_E_NO_GATEWAY);
  EXPECT(result == ORV_OK ? check_ip(gateway) == ORV_OK : orv::text_of(gateway) == "as it was");

  the_machine.interfaces = in.rest();
  fuzz::list<tag_netcard_list> cards;
  EXPECT(netcard_get(cards.get()) == ORV_OK);
  cards.check(the_machine.interfaces.size() / 40);
  for (const tag_netcard& card : cards) {
    EXPECT(check_ip(card.ip) == ORV_OK && check_ip(card.netmask) == ORV_OK);
    EXPECT(orv::text_of(card.mac).size() == 17);
  }
}
