#include "tools/orvctl/confirm.h"

#include <istream>
#include <ostream>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/plan.h"
#include "tools/orvctl/signals.h"

namespace orvctl {
namespace {

bool is_yes(std::string answer) {
  for (char& letter : answer) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return answer == "y" || answer == "yes";
}

problem declined() {
  problem result;
  result.name = "declined";
  result.meaning = "not confirmed, and so nothing was changed";
  result.advice = "answer \"yes\" to go ahead";
  return result;
}

void note(plan& planned, const std::string& warning, const std::function<table()>& losses) {
  planned.warning = warning;
  if (!losses) return;
  const table lost = losses();
  planned.losses = lost.text();
  // Tables that are only for people have no keys.
  for (const json& object : lost.objects()) {
    if (!object.empty()) planned.lost.push_back(object);
  }
}

}  // namespace

void must_be_answerable(const session& run, const char* reason) {
  if (run.yes || run.io.interactive) return;
  throw usage_problem(std::string(reason) + ", and there is no terminal to ask on",
                      "add --yes to go ahead without a question");
}

void confirm(const session& run, const std::string& warning, const std::function<table()>& losses,
             const char* reason) {
  must_be_answerable(run, reason);
  if (run.planned != nullptr) return note(*run.planned, warning, losses);
  if (run.yes) return;
  const std::string lost = losses ? losses().text() : "";
  const interruptible before_anything_is_done;
  run.io.err << lost << warning << "\nContinue? [y/N] " << std::flush;
  std::string answer;
  std::getline(run.io.in, answer);
  if (!is_yes(answer)) throw declined();
}

}  // namespace orvctl
