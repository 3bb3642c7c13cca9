#include "common/captured_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "common/log.h"
#include "common/whole_file.h"

namespace orv {
namespace {

/// Copies as many bytes as there were when the size was asked for; false on an error.
bool copy_bytes(FILE* from, FILE* to, std::size_t size) {
  char part[4096];
  std::size_t got = 0;
  do {
    got = std::fread(part, 1, std::min(size, sizeof part), from);
    if (std::ferror(from) != 0 || std::fwrite(part, 1, got, to) != got) return false;
    size -= got;
  } while (got > 0 && size > 0);
  return std::fflush(to) == 0;
}

/// A stream that holds the text of another one itself, once: it may be as large as a list.
unique_file read_whole(FILE* file) {
  struct stat examined {};
  if (fstat(fileno(file), &examined) != 0) return nullptr;
  const auto size = static_cast<std::size_t>(examined.st_size);
  unique_file held(fmemopen(nullptr, size + 1, "w+"));
  if (!held || !copy_bytes(file, held.get(), std::max<std::size_t>(size, 1))) return nullptr;
  std::rewind(held.get());
  return held;
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
  const unique_file file = stream();
  return file ? read_whole(file.get()) : nullptr;
}

unique_file captured_output::stream() const {
  if (error_ == 0) return without_buffer(unique_file(std::fopen(path_.c_str(), "re")));
  errno = error_;
  return nullptr;
}

int tell_cannot_open(const captured_output& output, int logged, const char* function, int line) {
  const int reason = errno;
  std::printf("cannot open %s\n", output.path().c_str());
  errno = reason;
  return log_failure(logged, function, line);
}

}  // namespace orv
