#include <arpa/inet.h>
#include <net/if.h>
#include <orv/network.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr char interfaces_file[] = "/etc/network/interfaces";
constexpr std::string_view loopback = "lo";

/// The table is asked for with this many bytes, and again with some more until its size stays.
constexpr std::size_t first_size = 3200;
constexpr std::size_t step = 320;
/// A kernel that refuses even this much room refuses for another reason.
constexpr std::size_t largest_refused = 1U << 18;

/// The kernel's table of interface addresses, aliases included; nothing, with `errno`, when it
/// cannot be read. A table that just fits may be cut: only a size that is reported twice counts.
std::optional<std::vector<ifreq>> interface_table(int socket) {
  int recorded = 0;
  for (std::size_t size = first_size;; size += step) {
    std::vector<ifreq> table(size / sizeof(ifreq));
    ifconf query{};
    query.ifc_len = static_cast<int>(table.size() * sizeof(ifreq));
    query.ifc_req = table.data();
    if (ioctl(socket, SIOCGIFCONF, &query) != 0) {
      const bool too_small = errno == EINVAL && recorded == 0 && size < largest_refused;
      if (!too_small) return std::nullopt;
    } else if (query.ifc_len == recorded) {
      table.resize(static_cast<std::size_t>(recorded) / sizeof(ifreq));
      return table;
    } else {
      recorded = query.ifc_len;
    }
  }
}

/// What the kernel knows about one interface.
class interface {
 public:
  interface(int socket, std::string_view name) : socket_(socket) {
    orv::set_text(name_, name);
  }

  bool is_up() { return ask(SIOCGIFFLAGS) && (answer_.ifr_flags & IFF_UP) != 0; }
  bool fill_mac(tag_netcard& card);
  bool fill_ip(tag_netcard& card) { return ask(SIOCGIFADDR) && set_address(card.ip); }
  bool fill_netmask(tag_netcard& card) { return ask(SIOCGIFNETMASK) && set_address(card.netmask); }

 private:
  bool ask(unsigned long request) {
    answer_ = {};
    orv::set_text(answer_.ifr_name, name_);
    return ioctl(socket_, request, &answer_) == 0;
  }
  bool set_address(char (&field)[16]) const {
    sockaddr_in address{};
    std::memcpy(&address, &answer_.ifr_addr, sizeof address);
    return inet_ntop(AF_INET, &address.sin_addr, field, sizeof field) != nullptr;
  }

  int socket_;
  char name_[IFNAMSIZ] = "";
  ifreq answer_{};
};

bool interface::fill_mac(tag_netcard& card) {
  if (!ask(SIOCGIFHWADDR)) return false;
  unsigned char mac[6];
  std::memcpy(mac, answer_.ifr_hwaddr.sa_data, sizeof mac);
  std::snprintf(card.mac, sizeof card.mac, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                mac[3], mac[4], mac[5]);
  return true;
}

/// The questions about an interface, and what is printed when the kernel does not answer.
struct question {
  bool (interface::*fill)(tag_netcard& card);
  const char* complaint;
};

constexpr question questions[] = {
    {&interface::fill_mac, "ioctl siocgifhwaddr error"},
    {&interface::fill_ip, "ioctl siocgifaddr error"},
    {&interface::fill_netmask, "ioctl siocgifnetmask error"},
};

bool fill(tag_netcard& card, interface& asked) {
  for (const question& next : questions) {
    if ((asked.*next.fill)(card)) continue;
    std::printf("%s", next.complaint);
    return false;
  }
  return true;
}

/// Appends the interface of a table entry, if it is one to list; false without memory.
bool add_interface(tag_netcard_list* list, int socket, const ifreq& entry) {
  const std::string_view name = orv::before(orv::text_of(entry.ifr_name), ":");
  if (entry.ifr_addr.sa_family != AF_INET || name == loopback) return true;
  interface asked(socket, name);
  tag_netcard found{};
  if (!asked.is_up() || !fill(found, asked)) return true;
  orv::set_text(found.name, name);
  get_gateway(interfaces_file, found.name, found.gateway);
  tag_netcard* const card = orv::append(list);
  if (card == nullptr) return false;
  orv::set_text(card->name, found.name);
  orv::set_text(card->ip, found.ip);
  orv::set_text(card->netmask, found.netmask);
  orv::set_text(card->gateway, found.gateway);
  orv::set_text(card->mac, found.mac);
  return true;
}

}  // namespace

int netcard_get(tag_netcard_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::unique_descriptor queries(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const auto table = queries ? interface_table(queries.get()) : std::nullopt;
  if (!table) {
    std::printf("ioctl error: %d\n", errno);
    return ORV_E_FAILED;
  }
  for (const ifreq& entry : *table) {
    if (!add_interface(list, queries.get(), entry)) return orv::log_failure(ORV_E_FAILED);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
