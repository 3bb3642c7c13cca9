#include "tools/orvctl/quiet_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/redirection.h"

namespace orvctl {
namespace {

/// A file that is open as long as this exists.
class opened {
 public:
  explicit opened(int descriptor) : descriptor_(descriptor) {}
  ~opened() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  opened(const opened&) = delete;
  opened& operator=(const opened&) = delete;
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

void show(const opened& notes) {
  char text[4096];
  ssize_t length = 0;
  ::lseek(notes.descriptor(), 0, SEEK_SET);
  while ((length = ::read(notes.descriptor(), text, sizeof text)) > 0) {
    if (::write(STDERR_FILENO, text, static_cast<std::size_t>(length)) != length) return;
  }
}

}  // namespace

int without_output(const std::function<int()>& call) {
  const opened nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  const redirection quiet(stdout, nowhere.descriptor());
  return call();
}

int without_notes(const std::function<int()>& call) {
  const opened notes(::memfd_create("notes", MFD_CLOEXEC));
  int result = ORV_OK;
  {
    const redirection quiet(stderr, notes.descriptor());
    result = call();
  }
  if (result != ORV_OK) show(notes);
  return result;
}

}  // namespace orvctl
