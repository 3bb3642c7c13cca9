#include "tools/orvctl/confirm.h"

#include <istream>
#include <ostream>

#include "tools/orvctl/errors.h"

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

}  // namespace

void must_be_answerable(const session& run) {
  if (run.yes || run.io.interactive) return;
  throw usage_problem("this destroys data, and there is no terminal to ask on",
                      "add --yes to go ahead without a question");
}

void confirm(const session& run, const std::string& warning, const std::function<table()>& losses) {
  must_be_answerable(run);
  if (run.yes) return;
  run.io.err << losses().text() << warning << "\nContinue? [y/N] " << std::flush;
  std::string answer;
  std::getline(run.io.in, answer);
  if (!is_yes(answer)) throw declined();
}

}  // namespace orvctl
