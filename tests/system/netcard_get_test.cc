/// Interfaces of a real kernel, in a network namespace of the test's own.
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>

#include <sstream>
#include <system_error>

#include "tests/system/netcard_list.h"
#include "tests/system/no_more_descriptors.h"

using testing::ElementsAre;
using testing::IsEmpty;

class netcard_get_test : public netcard_test {
 protected:
  netcard_get_test() {
    if (unshare(CLONE_NEWNET) != 0) {
      throw std::system_error(errno, std::generic_category(), "network namespace");
    }
  }

  /// Runs busybox's "ip", which the machine's programs include.
  static void ip(const std::string& arguments) {
    std::istringstream words("busybox ip " + arguments);
    sandbox::lines texts;
    for (std::string word; words >> word;) texts.push_back(word);
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    pid_t process = 0;
    char* const no_environment[] = {nullptr};
    int status = posix_spawn(&process, "/.sandbox/bin/busybox", nullptr, nullptr, pointers.data(),
                             no_environment);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(waitpid(process, &status, 0), process);
    ASSERT_EQ(status, 0) << "ip " << arguments;
  }

  /// A network card with its cable's other end.
  static void plug(const std::string& name, const std::string& mac) {
    ip("link add " + name + " address " + mac + " type veth");
  }

  sandbox::lines listed() {
    netcard_list_fini(&list);
    EXPECT_EQ(netcard_get(&list), ORV_OK);
    return cards();
  }
};

TEST_F(netcard_get_test, cards_that_are_up_are_listed) {
  machine.file(
      "/etc/network/interfaces",
      "auto lo\niface lo inet loopback\n\nauto eth0\niface eth0 inet static\n"
      "  address 192.168.1.10\n  gateway 192.168.1.1\n\nauto eth1\niface eth1 inet dhcp\n");
  plug("eth0", "00:1b:21:0a:0b:0c");
  plug("eth1", "00:1B:21:FF:00:01");
  ip("addr add 192.168.1.10/24 dev eth0");
  ip("addr add 10.1.2.3/13 dev eth1");
  ip("addr add 127.0.0.1/8 dev lo");
  for (const char* name : {"eth0", "eth1", "lo"}) {
    ip(std::string("link set ") + name + " up");
  }
  EXPECT_THAT(listed(), ElementsAre("eth0|192.168.1.10|255.255.255.0|192.168.1.1|00:1b:21:0a:0b:0c",
                                    "eth1|10.1.2.3|255.248.0.0||00:1b:21:ff:00:01"));
  EXPECT_EQ(machine.output(), "");
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(netcard_get_test, gateway_that_is_no_address_is_left_out) {
  plug("eth0", "00:1b:21:0a:0b:0c");
  ip("addr add 192.168.1.10/24 dev eth0");
  ip("link set eth0 up");
  const std::string stanza = "auto eth0\niface eth0 inet static\n  gateway ";
  machine.file("/etc/network/interfaces", stanza + "router\n");
  EXPECT_THAT(listed(), ElementsAre("eth0|192.168.1.10|255.255.255.0||00:1b:21:0a:0b:0c"));
  machine.file("/etc/network/interfaces", stanza + "192.168.1.1\n");
  EXPECT_THAT(listed(),
              ElementsAre("eth0|192.168.1.10|255.255.255.0|192.168.1.1|00:1b:21:0a:0b:0c"));
  EXPECT_EQ(machine.output(), "");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(netcard_get_test, card_that_is_down_or_has_no_address_is_not_listed) {
  plug("eth0", "00:1b:21:0a:0b:0c");
  plug("eth1", "00:1b:21:0a:0b:0d");
  ip("addr add 192.168.1.10/24 dev eth0");
  ip("link set eth1 up");
  EXPECT_THAT(listed(), IsEmpty());
  ip("link set eth0 up");
  EXPECT_EQ(listed().size(), 1U);
  ip("link set eth0 down");
  EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(netcard_get_test, alias_is_listed_with_the_addresses_of_its_base) {
  plug("eth0", "00:1b:21:0a:0b:0c");
  ip("addr add 192.168.1.10/24 dev eth0");
  ip("addr add 192.168.7.11/16 dev eth0 label eth0:1");
  ip("link set eth0 up");
  machine.file("/etc/network/interfaces", "auto eth0\ngateway 192.168.1.1\n");
  const char* const card = "eth0|192.168.1.10|255.255.255.0|192.168.1.1|00:1b:21:0a:0b:0c";
  EXPECT_THAT(listed(), ElementsAre(card, card));
}

TEST_F(netcard_get_test, alias_without_its_base_is_left_out_and_told) {
  plug("eth0", "00:1b:21:0a:0b:0c");
  plug("eth1", "00:1b:21:0a:0b:0d");
  ip("addr add 192.168.1.11/24 dev eth0 label eth0:1");
  ip("addr add 192.168.2.11/24 dev eth1");
  ip("link set eth0 up");
  ip("link set eth1 up");
  machine.file("/etc/network/interfaces", "");
  EXPECT_THAT(listed(), ElementsAre("eth1|192.168.2.11|255.255.255.0||00:1b:21:0a:0b:0d"));
  EXPECT_EQ(machine.output(), "ioctl siocgifaddr error");
}

TEST_F(netcard_get_test, machine_without_a_network_has_no_cards) {
  EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(netcard_get_test, socket_that_cannot_be_made_is_told) {
  {
    const no_more_descriptors left;
    EXPECT_EQ(netcard_get(&list), -1);
  }
  EXPECT_EQ(machine.output(), "ioctl error: 24\n");
  EXPECT_THAT(cards(), IsEmpty());
}

TEST_F(netcard_get_test, missing_interfaces_file_is_told_for_every_card) {
  plug("eth0", "00:1b:21:0a:0b:0c");
  ip("addr add 192.168.1.10/24 dev eth0");
  ip("link set eth0 up");
  EXPECT_THAT(listed(), ElementsAre("eth0|192.168.1.10|255.255.255.0||00:1b:21:0a:0b:0c"));
  EXPECT_EQ(machine.output(), "open error");
}

TEST_F(netcard_get_test, more_addresses_than_the_first_buffer_holds_are_all_listed) {
  plug("eth0", "00:1b:21:0a:0b:0c");
  ip("link set eth0 up");
  machine.file("/etc/network/interfaces", "");
  for (int i = 1; i <= 90; ++i) ip("addr add 10.0.0." + std::to_string(i) + "/8 dev eth0");
  EXPECT_EQ(listed().size(), 90U);
}

TEST_F(netcard_get_test, records_are_appended) {
  plug("eth0", "00:1b:21:0a:0b:0c");
  ip("addr add 192.168.1.10/24 dev eth0");
  ip("link set eth0 up");
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_EQ(cards().size(), 2U);
  EXPECT_EQ(reinterpret_cast<tag_netcard*>(reinterpret_cast<char*>(list.node.next) -
                                           offsetof(tag_netcard, node))
                ->state,
            1);
}
