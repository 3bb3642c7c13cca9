#ifndef ORVCTL_SESSION_H
#define ORVCTL_SESSION_H

#include <iosfwd>
#include <string>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/table.h"

namespace orvctl {

/// Where one run of the program reads and writes.
struct streams {
  std::istream& in;
  std::ostream& out;  ///< data only
  std::ostream& err;  ///< everything else
  bool interactive;   ///< somebody sees `err` and can answer on `in`
  int terminal = -1;  ///< descriptor of the terminal on which somebody types `in`, if there is one
};

/// One run of the program.
struct session {
  const streams& io;
  bool as_json = false;
  bool yes = false;
  exit_status status = exit_status::ok;  ///< of a command that ends by itself
  /// Under --json everything a command has to say, written once at the end.
  json document = {{"format_version", 1}};
};

/// Shows what a getter found, also when it failed part of the way, and then ends the command with
/// the getter's result.
/// @param key  of the list in the JSON document, such as "volume_groups"
void show_list(session& run, const std::string& key, const table& found, int result);

/// Shows what a change has done. The fields are the JSON document's "result".
void report(session& run, const std::string& sentence, const json& fields);

/// Answers a question with yes or no. "No" ends the command with its own exit status.
void answer(session& run, bool yes, const std::string& sentence, const json& fields);

/// Shows one value that was asked for, or that a change came up with.
void show_value(session& run, const std::string& value);

}  // namespace orvctl

#endif
