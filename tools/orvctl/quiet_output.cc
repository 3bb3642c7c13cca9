#include "tools/orvctl/quiet_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

bool replace_output(int by) { return by >= 0 && ::dup2(by, STDOUT_FILENO) >= 0; }

}  // namespace

quiet_output::quiet_output() : kept_(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  std::fflush(stdout);
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  const bool quiet = kept_ >= 0 && replace_output(nowhere);
  if (nowhere >= 0) ::close(nowhere);
  if (quiet) return;
  if (kept_ >= 0) ::close(kept_);
  throw library_problem(ORV_E_FAILED, "/dev/null cannot be opened");
}

quiet_output::~quiet_output() {
  std::fflush(stdout);
  replace_output(kept_);
  ::close(kept_);
}

}  // namespace orvctl
