#include "tools/orvctl/redirection.h"

#include <fcntl.h>
#include <unistd.h>

#include "tools/orvctl/errors.h"

namespace orvctl {

redirection::redirection(std::FILE* stream, int to)
    : stream_(stream), kept_(::fcntl(::fileno(stream), F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  std::fflush(stream_);
  if (kept_ >= 0 && to >= 0 && ::dup2(to, ::fileno(stream_)) >= 0) return;
  if (kept_ >= 0) ::close(kept_);
  throw library_problem(ORV_E_FAILED, "a standard descriptor cannot be led elsewhere");
}

redirection::~redirection() {
  std::fflush(stream_);
  ::dup2(kept_, ::fileno(stream_));
  ::close(kept_);
}

}  // namespace orvctl
