#include "tools/orvctl/fields.h"

#include "tools/orvctl/errors.h"

namespace orvctl {

void must_fit(const std::string& text, std::size_t size, const char* what) {
  if (text.size() < size) return;
  throw usage_problem(
      std::string(what) + " is longer than " + std::to_string(size - 1) + " characters",
      "give a shorter one");
}

}  // namespace orvctl
