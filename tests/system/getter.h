#ifndef ORV_TESTS_SYSTEM_GETTER_H
#define ORV_TESTS_SYSTEM_GETTER_H

#include <algorithm>
#include <cstring>
#include <string>

#include "tests/sandbox/sandbox.h"

/// What a getter answered.
struct answer_of_getter {
  int result;
  std::string text;
  bool operator==(const answer_of_getter&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const answer_of_getter& answer) {
  return out << answer.result << " '" << answer.text << "'";
}

/// Calls a text getter with a buffer that holds "before", and tells it a size.
template <int Size = 128>
answer_of_getter ask(int (*getter)(char*, int)) {
  char buffer[std::max(Size, 8)] = {};
  std::strcpy(buffer, "before");
  const int result = getter(buffer, Size);
  return {result, buffer};
}

/// A machine whose device model can be told.
class system_test : public sandbox_test {
 protected:
  void model(const std::string& name) {
    machine.file("/etc/sys_info", "[product]\ntype=" + name + "\n");
  }
  void zor_state(const std::string& lines) {
    machine.file("/var/run/sys_state", "[status]\n" + lines);
  }
  void kta_state(const std::string& lines) {
    machine.file("/tmp/nas_state.conf", "[misc]\n" + lines);
  }
};

#endif
