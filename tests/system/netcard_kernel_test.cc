/// Interfaces of a kernel that the test plays: what a real one does not do when it is asked to.
#include <arpa/inet.h>
#include <dlfcn.h>
#include <net/if.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <map>

#include "tests/system/netcard_list.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct played_kernel {
  struct entry {
    std::string name;
    sa_family_t family = AF_INET;
    short flags = IFF_UP;
  };
  std::vector<entry> table;
  std::map<unsigned long, int> errors;  // what a request fails with
  int least_size = 0;                   // a smaller buffer is refused with EINVAL
  int largest_size = INT_MAX;           // so is a larger one
  std::vector<int> sizes;               // of the buffers that it was asked to fill

  int answer(unsigned long request, void* argument);

 private:
  void fill(ifconf& query);
  void fill(unsigned long request, ifreq& about) const;
};

played_kernel* kernel = nullptr;

void set_address(sockaddr& field, sa_family_t family, const char* text) {
  sockaddr_in address{};
  address.sin_family = family;
  inet_pton(AF_INET, text, &address.sin_addr);
  std::memcpy(&field, &address, sizeof address);
}

void played_kernel::fill(ifconf& query) {
  std::size_t filled = 0;
  for (const entry& next : table) {
    if ((filled + 1) * sizeof(ifreq) > static_cast<std::size_t>(query.ifc_len)) break;
    ifreq& place = query.ifc_req[filled++];
    place = {};
    next.name.copy(place.ifr_name, sizeof place.ifr_name);
    set_address(place.ifr_addr, next.family, "0.0.0.0");
  }
  query.ifc_len = static_cast<int>(filled * sizeof(ifreq));
}

void played_kernel::fill(unsigned long request, ifreq& about) const {
  if (request == SIOCGIFADDR) return set_address(about.ifr_addr, AF_INET, "10.0.0.1");
  if (request == SIOCGIFNETMASK) return set_address(about.ifr_netmask, AF_INET, "255.0.0.0");
  if (request == SIOCGIFHWADDR) return void(std::memset(about.ifr_hwaddr.sa_data, 0xab, 6));
  about.ifr_flags = 0;
  for (const entry& next : table) {
    if (next.name.substr(0, next.name.find(':')) == about.ifr_name) about.ifr_flags = next.flags;
  }
}

int played_kernel::answer(unsigned long request, void* argument) {
  const auto error = errors.find(request);
  bool refused = error != errors.end();
  if (refused) errno = error->second;
  if (request != SIOCGIFCONF) {
    if (!refused) fill(request, *static_cast<ifreq*>(argument));
    return refused ? -1 : 0;
  }
  ifconf& query = *static_cast<ifconf*>(argument);
  sizes.push_back(query.ifc_len);
  if (!refused && (query.ifc_len < least_size || query.ifc_len > largest_size)) {
    refused = true;
    errno = EINVAL;
  }
  if (!refused) fill(query);
  return refused ? -1 : 0;
}

}  // namespace

// Comes before the C library's, for the library under test too.
extern "C" __attribute__((visibility("default"))) int ioctl(int file, unsigned long request,
                                                            ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (kernel != nullptr) return kernel->answer(request, argument);
  const auto real = reinterpret_cast<int (*)(int, unsigned long, ...)>(dlsym(RTLD_NEXT, "ioctl"));
  return real(file, request, argument);
}

class netcard_kernel : public netcard_test {
 protected:
  netcard_kernel() {
    machine.file("/etc/network/interfaces", "");
    kernel = &played;
  }
  ~netcard_kernel() override { kernel = nullptr; }

  played_kernel played;
  const std::string eth0 = "eth0|10.0.0.1|255.0.0.0||ab:ab:ab:ab:ab:ab";
};

TEST_F(netcard_kernel, table_is_read_until_its_size_is_reported_twice) {
  played.table = {{.name = "eth0"}};
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_THAT(cards(), ElementsAre(eth0));
  EXPECT_THAT(played.sizes, ElementsAre(3200, 3520));
}

TEST_F(netcard_kernel, table_without_entries_is_complete_at_once) {
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_THAT(cards(), IsEmpty());
  EXPECT_THAT(played.sizes, ElementsAre(3200));
}

TEST_F(netcard_kernel, table_that_does_not_fit_is_asked_for_with_more_room) {
  played.table.resize(100, {.name = "eth0"});
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_EQ(cards().size(), 100U);
  EXPECT_THAT(played.sizes, ElementsAre(3200, 3520, 3840, 4160, 4480));
}

TEST_F(netcard_kernel, buffer_that_is_refused_as_too_small_grows) {
  played.table = {{.name = "eth0"}};
  played.least_size = 4000;
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_THAT(cards(), ElementsAre(eth0));
  EXPECT_THAT(played.sizes, ElementsAre(3200, 3520, 3840, 4160, 4480));
}

TEST_F(netcard_kernel, table_that_is_always_refused_is_an_error) {
  played.errors[SIOCGIFCONF] = EINVAL;
  EXPECT_EQ(netcard_get(&list), -1);
  EXPECT_EQ(machine.output(), "ioctl error: 22\n");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(netcard_kernel, refusal_behind_an_answer_is_an_error) {
  played.table = {{.name = "eth0"}};
  played.largest_size = 3200;
  EXPECT_EQ(netcard_get(&list), -1);
  EXPECT_THAT(played.sizes, ElementsAre(3200, 3520));
  EXPECT_EQ(machine.output(), "ioctl error: 22\n");
}

TEST_F(netcard_kernel, table_that_cannot_be_read_is_told_and_ends_nothing) {
  played.errors[SIOCGIFCONF] = EIO;
  EXPECT_EQ(netcard_get(&list), -1);
  EXPECT_THAT(played.sizes, ElementsAre(3200));
  EXPECT_EQ(machine.output(), "ioctl error: 5\n");
  EXPECT_THAT(cards(), IsEmpty());
}

TEST_F(netcard_kernel, card_that_the_kernel_does_not_tell_about_is_left_out) {
  played.table = {{.name = "eth0"}};
  const std::pair<unsigned long, const char*> requests[] = {
      {SIOCGIFHWADDR, "ioctl siocgifhwaddr error"},
      {SIOCGIFADDR, "ioctl siocgifaddr error"},
      {SIOCGIFNETMASK, "ioctl siocgifnetmask error"},
  };
  for (const auto& [request, message] : requests) {
    machine.forget();
    played.errors = {{request, ENODEV}};
    EXPECT_EQ(netcard_get(&list), ORV_OK);
    EXPECT_EQ(machine.output(), message);
  }
  played.errors = {{SIOCGIFFLAGS, ENODEV}};
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_THAT(cards(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(netcard_kernel, other_address_families_loopback_and_cards_that_are_down_are_passed_over) {
  played.table = {{.name = "lo"},
                  {.name = "lo:1"},
                  {.name = "eth6", .family = AF_INET6},
                  {.name = "eth7", .flags = IFF_RUNNING},
                  {.name = "eth0"}};
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_THAT(cards(), ElementsAre(eth0));
}

TEST_F(netcard_kernel, name_may_fill_its_field) {
  played.table = {{.name = "abcdefghijklmno"}, {.name = "0123456789abcdef"}};
  played.table[1].flags = 0;
  EXPECT_EQ(netcard_get(&list), ORV_OK);
  EXPECT_THAT(cards(), ElementsAre("abcdefghijklmno|10.0.0.1|255.0.0.0||ab:ab:ab:ab:ab:ab"));
}

TEST_F(netcard_kernel, list_that_is_missing_is_not_filled) {
  EXPECT_EQ(netcard_get(nullptr), ORV_E_FAILED);
  EXPECT_THAT(played.sizes, IsEmpty());
}
