#ifndef ORVCTL_PLAN_H
#define ORVCTL_PLAN_H

#include <string>
#include <vector>

#include "tools/orvctl/file_changes.h"
#include "tools/orvctl/table.h"

namespace orvctl {

/// What a changing command would do.
struct plan {
  /// A command line or a call of the system, in the order in which they would be made.
  struct step {
    bool is_command;
    std::string text;
  };

  std::string warning;  ///< what a question would say; empty when nothing would be asked
  std::string losses;   ///< the table that a question would show
  json lost = json::array();
  std::vector<step> steps;
  std::vector<file_change> files;
};

/// The plan as the user reads it; says so when it is empty.
std::string text_of(const plan& made);
/// The "plan" of the JSON document.
json json_of(const plan& made);
/// The plan of such an object, which does not have the text of the losses.
plan plan_of(const json& object);

}  // namespace orvctl

#endif
