#include "tools/orvctl/problem_text.h"

namespace orvctl {

json problem_object(const std::string& command, const problem& found) {
  json error = {{"command", text_value(command)},
                {"code", nullptr},
                {"name", found.name},
                {"meaning", found.meaning},
                {"detail", text_value(found.detail)},
                {"advice", found.advice},
                {"exit_status", static_cast<int>(found.status)}};
  if (found.code) error["code"] = *found.code;
  return error;
}

std::string problem_text(const std::string& command, const problem& found) {
  std::string text = "orvctl: ";
  if (!command.empty()) text += command + ": ";
  if (found.code) text += found.name + " (" + std::to_string(*found.code) + "): ";
  text += found.meaning;
  if (!found.detail.empty()) text += ": " + found.detail;
  return text + "\n  What to do: " + found.advice + "\n";
}

}  // namespace orvctl
