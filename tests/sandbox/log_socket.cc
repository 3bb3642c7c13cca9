#include "log_socket.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <mutex>

#include "errors.h"

namespace sandbox {
namespace {

// Held while messages are taken off a socket, and while a process forks: a child would wait for
// ever for an allocator that the reader, which it does not have, was just using.
std::mutex reading;
[[maybe_unused]] const int at_fork =
    ::pthread_atfork([] { reading.lock(); }, [] { reading.unlock(); }, [] { reading.unlock(); });

int bound_socket(const char* path) {
  const int result = must(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), path);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string_view(path).copy(address.sun_path, sizeof address.sun_path - 1);
  must(::bind(result, reinterpret_cast<const sockaddr*>(&address), sizeof address), path);
  must(::chmod(path, 0666), path);
  return result;
}

// A message reads "<27>Jan  2 03:04:05 ident[67]: text"; the time stamp has 16 characters. What
// reads otherwise is all text.
log_record parsed(const std::string& message) {
  log_record record{.priority = -1, .ident = "", .text = message};
  const auto ident = message.find('>') + 1 + 16;
  const auto text = message.find(": ", std::min(ident, message.size()));
  if (!message.starts_with('<') || text == std::string::npos) return record;
  std::from_chars(message.data() + 1, message.data() + message.size(), record.priority);
  record.ident = message.substr(ident, message.find_first_of("[:", ident) - ident);
  record.text = message.substr(text + 2);
  return record;
}

}  // namespace

log_socket::log_socket()
    : socket_(bound_socket("/dev/log")), stop_(must(::eventfd(0, EFD_CLOEXEC), "eventfd")) {
  // Signals that a test sends are not for the reader.
  sigset_t all, before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  reader_ = std::thread([this] { keep_drained(); });
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  started_.wait(false);
}

// The C library notices the closed socket by itself and connects to the next machine's.
log_socket::~log_socket() {
  ::eventfd_write(stop_, 1);
  reader_.join();
  ::close(stop_);
  ::close(socket_);
}

std::vector<log_record> log_socket::records() {
  drain();
  const std::lock_guard lock(reading);
  return records_;
}

// Takes messages off the socket under the lock, so that none is ever on its way between the two.
void log_socket::drain() {
  const std::lock_guard lock(reading);
  for (ssize_t size; (size = ::recv(socket_, message_.data(), message_.size(), 0)) >= 0;)
    records_.push_back(parsed(message_.substr(0, static_cast<size_t>(size))));
}

void log_socket::keep_drained() {
  // A thread that begins takes memory: nobody is to fork meanwhile, and find the allocator locked.
  started_ = true;
  started_.notify_one();
  pollfd waited[] = {{socket_, POLLIN, 0}, {stop_, POLLIN, 0}};
  while (::poll(waited, 2, -1) > 0 && waited[1].revents == 0) drain();
}

}  // namespace sandbox
