#ifndef ORVCTL_MACHINE_FACTS_H
#define ORVCTL_MACHINE_FACTS_H

#include <string>
#include <vector>

#include "tools/orvctl/table.h"

namespace orvctl {

/// One thing that the machine tells about itself, or the code that says why it does not.
struct machine_fact {
  const char* title;
  const char* key;
  std::string text;
  json value;  ///< null when it cannot be read or says nothing
  int result;
};

/// Model, versions, times, temperature, fans and power.
std::vector<machine_fact> machine_facts();

/// The fact of a key.
const machine_fact& fact_of(const std::vector<machine_fact>& facts, const std::string& key);

/// The facts as an object: each value by its key.
json facts_object(const std::vector<machine_fact>& facts);

/// A text that begins with a number, as that number; anything else is null.
json number_in(const std::string& text);

}  // namespace orvctl

#endif
