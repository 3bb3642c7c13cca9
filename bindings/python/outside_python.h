#ifndef ORV_PYTHON_OUTSIDE_PYTHON_H
#define ORV_PYTHON_OUTSIDE_PYTHON_H

#include <pybind11/pybind11.h>

#include <mutex>

namespace orv_python {

/// Calls that the library wants one at a time within a process; other calls run side by side.
enum class turn { any, shares, users, alarms, mount_table, ftp_limits };

/// While it exists, nothing that the library prints through the C library's standard output is
/// seen: the changes of users print passwords. Python writes to the descriptor itself, and so what
/// other threads print meanwhile stays where it belongs.
class silence {
 public:
  silence();
  ~silence();
  silence(const silence&) = delete;
  silence& operator=(const silence&) = delete;
};

/// One call of the library: other threads of Python run meanwhile.
class outside_python {
 public:
  explicit outside_python(turn wanted);

 private:
  // In this order: who waits for a turn must not hold Python's lock.
  pybind11::gil_scoped_release released_;
  std::unique_lock<std::mutex> turn_;
  silence silent_;
};

}  // namespace orv_python

#endif
