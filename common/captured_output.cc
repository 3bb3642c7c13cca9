#include "common/captured_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "common/log.h"

namespace orv {

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
  unique_file file(std::fopen(path_.c_str(), "re"));
  struct stat examined {};
  if (file && fstat(fileno(file.get()), &examined) != 0) file.reset();
  return file;
}

int tell_cannot_open(const captured_output& output, int logged, const char* function, int line) {
  const int reason = errno;
  std::printf("cannot open %s\n", output.path().c_str());
  errno = reason;
  return log_failure(logged, function, line);
}

}  // namespace orv
