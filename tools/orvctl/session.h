#ifndef ORVCTL_SESSION_H
#define ORVCTL_SESSION_H

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

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
  bool coloured = false;  ///< `out` is a terminal that shows colours
  int out_terminal = -1;  ///< descriptor of the terminal that `out` is, if it is one
  int err_terminal = -1;  ///< the same of `err`
};

/// Of the JSON documents. Raised when a key goes, or comes to mean something else.
inline constexpr int format_version = 2;

struct session;

/// A command that only asks, and needs no arguments: a support report asks all of them.
struct query {
  std::string command;
  void (*ask)(session&);
};

struct plan;

/// One run of the program.
struct session {
  const streams& io;
  bool as_json = false;
  bool yes = false;
  bool dry_run = false;
  std::optional<unsigned> tool_timeout{};  ///< seconds that each tool may take
  bool shows_gaps = false;  ///< of a command that itself tells what cannot be found out
  plan* planned = nullptr;  ///< of a rehearsal: what would be done is noted here
  exit_status status = exit_status::ok;  ///< of a command that ends by itself
  list_view shown{};                     ///< how the user wants to see lists
  /// Of a completion: a list tells the names of its columns here, and shows nothing.
  std::vector<std::string>* columns_wanted = nullptr;
  std::vector<query> queries{};  ///< those of the whole grammar
  /// Under --json everything a command has to say, written once at the end.
  json document = {{"format_version", format_version}};
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
