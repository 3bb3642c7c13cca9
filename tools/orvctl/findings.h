#ifndef ORVCTL_FINDINGS_H
#define ORVCTL_FINDINGS_H

#include <string>
#include <vector>

#include "tools/orvctl/inventory.h"

namespace orvctl {

/// How bad a finding is: data or service is lost or at risk, or somebody should look at it.
enum class severity { critical, warning };

/// Something that is wrong with the machine.
struct finding {
  severity how_bad;
  std::string kind;     ///< "array", "disk", "file system", ...
  std::string subject;  ///< its name; may be empty
  std::string message;
};

/// What is wrong, the worst first.
std::vector<finding> findings_of(const inventory& machine);

/// "ok", "warning" or "critical".
const char* overall_state(const std::vector<finding>& findings);

table finding_table(const std::vector<finding>& findings);

}  // namespace orvctl

#endif
