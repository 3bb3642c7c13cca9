#include "tools/orvctl/plan.h"

namespace orvctl {
namespace {

std::string indented(const std::string& text, const std::string& by) {
  std::string all;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    all += by + text.substr(start, end - start) + "\n";
    start = end + 1;
  }
  return all;
}

std::string steps_text(const std::vector<plan::step>& steps) {
  if (steps.empty()) return "No command would be run.\n";
  std::string text = "Would be done, in this order:\n";
  for (const plan::step& step : steps) text += (step.is_command ? "  $ " : "  ") + step.text + "\n";
  return text;
}

std::string files_text(const std::vector<file_change>& files) {
  if (files.empty()) return "No settings file would be changed.\n";
  std::string text = "Would be written:\n";
  for (const file_change& file : files) {
    text += "  " + file.path + " (" + file.change + ")\n" + indented(file.diff, "    ");
  }
  return text;
}

}  // namespace

std::string text_of(const plan& made) {
  std::string text;
  if (!made.warning.empty()) text += made.losses + made.warning + "\n\n";
  return text + steps_text(made.steps) + "\n" + files_text(made.files);
}

json json_of(const plan& made) {
  json steps = json::array();
  for (const plan::step& step : made.steps) {
    steps.push_back({{"kind", step.is_command ? "command" : "call"}, {"text", step.text}});
  }
  json files = json::array();
  for (const file_change& file : made.files) {
    files.push_back({{"path", file.path},
                     {"change", file.change},
                     {"diff", file.diff.empty() ? json() : json(file.diff)}});
  }
  return {{"warning", made.warning.empty() ? json() : json(made.warning)},
          {"lost", made.lost},
          {"steps", steps},
          {"files", files}};
}

plan plan_of(const json& object) {
  plan made;
  if (object["warning"].is_string()) made.warning = object["warning"];
  made.lost = object["lost"];
  for (const json& step : object["steps"]) {
    made.steps.push_back({step["kind"] == "command", step["text"]});
  }
  for (const json& file : object["files"]) {
    made.files.push_back(
        {file["path"], file["change"], file["diff"].is_string() ? std::string(file["diff"]) : ""});
  }
  return made;
}

}  // namespace orvctl
