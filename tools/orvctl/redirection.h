#ifndef ORVCTL_REDIRECTION_H
#define ORVCTL_REDIRECTION_H

#include <cstdio>

namespace orvctl {

/// While it exists, what is written to a standard stream of the program and of the tools that it
/// runs goes to another file.
class redirection {
 public:
  /// @param to  a descriptor, which is the caller's to close
  redirection(std::FILE* stream, int to);
  ~redirection();
  redirection(const redirection&) = delete;
  redirection& operator=(const redirection&) = delete;

 private:
  std::FILE* stream_;
  int kept_;
};

}  // namespace orvctl

#endif
