/// The machine's system log: /dev/log, read the whole time, since it holds only some ten messages
/// and then syslog(3) waits.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

#include "sandbox.h"

namespace sandbox {

class log_socket {
 public:
  log_socket();
  ~log_socket();
  log_socket(const log_socket&) = delete;
  log_socket& operator=(const log_socket&) = delete;

  /// Every message that was sent before this call.
  std::vector<log_record> records();

 private:
  void drain();
  void keep_drained();

  int socket_;
  int stop_;
  std::string message_ = std::string(1 << 18, '\0');
  std::vector<log_record> records_;
  std::atomic<bool> started_ = false;
  std::thread reader_;
};

}  // namespace sandbox
