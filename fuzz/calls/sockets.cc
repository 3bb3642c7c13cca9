/// Sockets and interfaces.

#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "handles.h"

using fuzz::fail_with;
using fuzz::handle;
using fuzz::handle_of;
using fuzz::the_machine;

extern "C" {

int machine_socket(int, int, int) {
  return fuzz::open_handle({fuzz::no_content(), 0, false, false});
}
int machine_bind(int, const sockaddr*, socklen_t) { return 0; }
int machine_connect(int, const sockaddr*, socklen_t) { return 0; }
ssize_t machine_send(int, const void*, std::size_t size, int) { return static_cast<ssize_t>(size); }

int machine_setsockopt(int, int, int, const void*, socklen_t) { return 0; }
int machine_poll(pollfd*, nfds_t, int) { return fail_with(ENOTCONN); }

ssize_t machine_recv(int number, void* buffer, std::size_t size, int) {
  handle* const from = handle_of(number);
  if (from == nullptr) return -1;
  const std::string& text = the_machine.from_peer;
  const std::size_t left = text.size() - std::min(text.size(), from->offset);
  const std::size_t count = std::min({size, left, the_machine.piece});
  std::memcpy(buffer, text.data() + (left == 0 ? 0 : from->offset), count);
  from->offset += count;
  return static_cast<ssize_t>(count);
}

/// Of the kernel's answers every byte comes from the input: the table as it is, and the answer to
/// each further question from where the one before ended.
int machine_ioctl(int number, unsigned long request, void* argument) {
  handle* const asked = handle_of(number);
  if (asked == nullptr) return -1;
  const std::string& answers = the_machine.interfaces;
  if (request == SIOCGIFCONF) {
    auto* const query = static_cast<ifconf*>(argument);
    const std::size_t room = static_cast<std::size_t>(query->ifc_len);
    const std::size_t size = std::min(room, answers.size() / sizeof(ifreq) * sizeof(ifreq));
    std::memcpy(query->ifc_req, answers.data(), size);
    query->ifc_len = static_cast<int>(size);
    return 0;
  }
  if (answers.empty()) return fail_with(ENODEV);
  auto* const answer = static_cast<ifreq*>(argument);
  char bytes[sizeof answer->ifr_ifru];
  for (char& byte : bytes) byte = answers[asked->offset++ % answers.size()];
  if (bytes[0] == 0x7f) return fail_with(ENODEV);
  std::memcpy(&answer->ifr_ifru, bytes, sizeof bytes);
  return 0;
}

}  // extern "C"
