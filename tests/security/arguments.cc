#include "tests/security/arguments.h"

namespace security {

std::string parameters_of(const std::type_info& function) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(function.name(), nullptr, nullptr, &status), std::free);
  const std::string type = status == 0 ? name.get() : "";
  return type.substr(type.find('('));
}

}  // namespace security
