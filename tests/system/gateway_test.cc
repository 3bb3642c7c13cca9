#include <orv/network.h>

#include "tests/sandbox/sandbox.h"

using testing::IsEmpty;

class gateway : public sandbox_test {
 protected:
  /// The gateway of eth0, or the code when there is none and the buffer is untouched.
  std::string in(const std::string& interfaces, const char* name = "eth0") {
    machine.file("/etc/network/interfaces", interfaces);
    return of(name);
  }
  static std::string of(const char* name) {
    char address[16] = "before";
    const int result = get_gateway("/etc/network/interfaces", name, address);
    if (result == ORV_OK) return address;
    EXPECT_STREQ(address, "before");
    return std::to_string(result);
  }
};

constexpr char two_cards[] =
    "# The network\n"
    "auto lo\n"
    "iface lo inet loopback\n"
    "\n"
    "auto eth0\n"
    "iface eth0 inet static\n"
    "\taddress 192.168.1.10\n"
    "\tnetmask 255.255.255.0\n"
    "\t# gateway 192.168.1.9\n"
    "\n"
    "\tgateway 192.168.1.1\n"
    "auto eth1\n"
    "iface eth1 inet static\n"
    "\taddress 10.0.0.2\n"
    "auto eth2\n"
    "iface eth2 inet static\n"
    "    gateway 10.0.0.1   \r\n";

TEST_F(gateway, is_in_the_stanza_of_the_interface) {
  EXPECT_EQ(in(two_cards), "192.168.1.1");
  EXPECT_EQ(in(two_cards, "eth2"), "10.0.0.1");
  EXPECT_EQ(machine.output(), "");
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(gateway, is_not_looked_for_behind_a_second_stanza) {
  EXPECT_EQ(in(two_cards, "eth1"), "-2");
  EXPECT_EQ(in("auto eth0\niface eth0 inet dhcp\niface eth1 inet static\ngateway 1.2.3.4\n"), "-2");
  EXPECT_EQ(in("auto eth0\niface\ngateway 1.2.3.4\n"), "1.2.3.4");
}

TEST_F(gateway, of_an_interface_that_is_not_there_is_none) {
  for (const char* name : {"eth", "eth00", "lo eth0", "", "auto eth0"}) {
    EXPECT_EQ(in(two_cards, name), "-2") << name;
  }
  EXPECT_EQ(of(nullptr), "-2");
  EXPECT_EQ(in("", "eth0"), "-2");
  EXPECT_EQ(in("\n\n# auto eth0\n#\n", "eth0"), "-2");
}

TEST_F(gateway, stanza_begins_with_a_line_that_ends_in_the_name) {
  EXPECT_EQ(in(" \tallow-hotplug eth0 \t\r\ngateway 1.2.3.4\n"), "1.2.3.4");
  EXPECT_EQ(in("auto lo eth0\ngateway 1.2.3.4\n"), "-2");
  EXPECT_EQ(in("auto  eth0\ngateway 1.2.3.4\n"), "-2");
  EXPECT_EQ(in("auto\teth0\ngateway 1.2.3.4\n"), "-2");
  EXPECT_EQ(in("eth0\ngateway 1.2.3.4\n"), "-2");
  EXPECT_EQ(in("#auto eth0\ngateway 1.2.3.4\n"), "-2");
  EXPECT_EQ(in("auto lo eth0\ngateway 1.2.3.4\n", "lo eth0"), "1.2.3.4");
  EXPECT_EQ(in("gateway 1.2.3.4\nauto eth0\n"), "-2");
}

TEST_F(gateway, that_is_no_dotted_address_is_none) {
  for (const char* value : {"", " ", "router", "1.2.3", "1.2.3.4.5", "256.1.1.1", "fe80::1",
                            "1.2.3.4 metric 5", " 1.2.3.4", "01.2.3.4", "1.2.3.4#"}) {
    EXPECT_EQ(in("auto eth0\ngateway " + std::string(value) + "\ngateway 1.2.3.4\n"), "-2")
        << value;
  }
  EXPECT_EQ(in("auto eth0\ngateway\n"), "-2");
  EXPECT_EQ(in("auto eth0\ngateway\t1.2.3.4\n"), "-2");
  EXPECT_EQ(in("auto eth0\nGateway 1.2.3.4\ngateways 1.2.3.4\n"), "-2");
  EXPECT_EQ(in("auto eth0\ngateway 255.255.255.255\n"), "255.255.255.255");
}

TEST_F(gateway, last_line_needs_no_line_end) {
  EXPECT_EQ(in("auto eth0\ngateway 1.2.3.4"), "1.2.3.4");
  EXPECT_EQ(in("auto eth0"), "-2");
}

TEST_F(gateway, part_of_a_long_line_behind_255_characters_is_a_line) {
  EXPECT_EQ(in(std::string(255, 'x') + "auto eth0\ngateway 1.2.3.4\n"), "1.2.3.4");
  EXPECT_EQ(in(std::string(100'000, 'x') + "\nauto eth0\n" + std::string(100'000, ' ') +
               "\ngateway 1.2.3.4\n"),
            "1.2.3.4");
}

TEST_F(gateway, file_may_hold_anything) {
  std::string all;
  for (int i = 0; i < 1000; ++i) all += static_cast<char>(i * 7);
  EXPECT_EQ(in(all), "-2");
  EXPECT_EQ(in(std::string(3000, '\0') + "\n" + two_cards), "192.168.1.1");
}

TEST_F(gateway, file_that_cannot_be_opened_is_told) {
  EXPECT_EQ(of("eth0"), "-1");
  EXPECT_EQ(machine.output(), "open error");
  char address[16] = "before";
  EXPECT_EQ(get_gateway(nullptr, "eth0", address), -1);
  EXPECT_STREQ(address, "before");
}

TEST_F(gateway, file_that_cannot_be_read_is_reported) {
  machine.directory("/etc/network/interfaces");
  EXPECT_EQ(of("eth0"), "-1");
  EXPECT_EQ(machine.output(), "");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(gateway, needs_a_buffer) {
  machine.file("/etc/network/interfaces", two_cards);
  EXPECT_EQ(get_gateway("/etc/network/interfaces", "eth0", nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}
