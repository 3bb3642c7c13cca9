#include "common/captured_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "common/log.h"
#include "common/whole_file.h"

namespace orv {
namespace {

/// A stream that holds a text itself.
unique_file stream_of(const std::string& text) {
  unique_file stream(fmemopen(nullptr, text.size() + 1, "w+"));
  if (!stream || std::fwrite(text.data(), 1, text.size(), stream.get()) != text.size() ||
      std::fflush(stream.get()) != 0) {
    return nullptr;
  }
  std::rewind(stream.get());
  return stream;
}

}  // namespace

captured_output::captured_output(std::string path_template) : path_(std::move(path_template)) {
  const int file = mkostemp(path_.data(), O_CLOEXEC);
  if (file < 0) {
    error_ = errno;
  } else {
    close(file);
  }
}

captured_output::~captured_output() {
  if (error_ == 0 && !leave_) unlink(path_.c_str());
}

bool captured_output::fill(const command& line, const char* log_form) const {
  if (error_ == 0) return execute(line, log_form) == 0;
  errno = error_;
  log_not_run(line, log_form);
  return false;
}

bool captured_output::exists() const {
  struct stat examined {};
  if (error_ == 0) return stat(path_.c_str(), &examined) == 0;
  errno = error_;
  return false;
}

unique_file captured_output::open() const {
  if (error_ != 0) {
    errno = error_;
    return nullptr;
  }
  std::string text;
  struct stat examined {};
  return read_file(path_.c_str(), text, examined) ? stream_of(text) : nullptr;
}

int tell_cannot_open(const captured_output& output, int logged, const char* function, int line) {
  const int reason = errno;
  std::printf("cannot open %s\n", output.path().c_str());
  errno = reason;
  return log_failure(logged, function, line);
}

}  // namespace orv
