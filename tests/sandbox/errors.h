/// A failed system call of the sandbox itself ends the test with its reason.
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace sandbox {

template <class result>
result must(result got, const std::string& what) {
  if (got < 0) throw std::system_error(errno, std::generic_category(), what);
  return got;
}

}  // namespace sandbox
