#include "tools/orvctl/session.h"

#include <algorithm>
#include <ostream>

namespace orvctl {

void show_list(session& run, const std::string& key, const table& found, int result) {
  if (run.columns_wanted != nullptr) {
    *run.columns_wanted = found.names_of_columns();
    return;
  }
  // Columns that there are not are refused also when there is nothing to show.
  const std::string text = run.as_json ? "" : found.text(run.shown);
  if (run.as_json) {
    run.document[key] = found.objects(run.shown);
  } else if (!found.empty()) {
    run.io.out << text;
  } else if (result == ORV_OK) {
    std::string what = key;
    std::replace(what.begin(), what.end(), '_', ' ');
    run.io.err << "There are no " << what << ".\n";
  }
  check(result);
}

void report(session& run, const std::string& sentence, const json& fields) {
  if (run.as_json) {
    run.document["result"] = fields;
  } else {
    run.io.err << sentence << '\n';
  }
}

void answer(session& run, bool yes, const std::string& sentence, const json& fields) {
  if (run.as_json) run.document["result"] = fields;
  show_value(run, sentence);
  if (!yes) run.status = exit_status::not_found;
}

void show_value(session& run, const std::string& value) {
  if (!run.as_json) run.io.out << value << '\n';
}

}  // namespace orvctl
