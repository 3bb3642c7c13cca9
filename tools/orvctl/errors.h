#ifndef ORVCTL_ERRORS_H
#define ORVCTL_ERRORS_H

#include <orv/errors.h>

#include <exception>
#include <optional>
#include <span>
#include <string>

/// What goes wrong, as the user reads it: one table says what to do about each result code and how
/// the program ends.

namespace orvctl {

enum class exit_status : int {
  ok = 0,
  failed = 1,     ///< the request was understood and could not be carried out
  usage = 2,      ///< the command line is wrong, or needs --yes
  not_found = 3,  ///< what the command names is not there; also the answer "no" to a question
  in_use = 4,     ///< busy: what the command names is in use or locked, or the name is taken
  partial = 5,    ///< a part of the change was made; the message says which, or what is left to do
  timed_out = 6,  ///< a tool took longer than --timeout allows and was ended
};

/// One row of the table of result codes.
struct code_info {
  int code;
  const char* name;
  exit_status status;
  const char* advice;
};

/// Every result code of the library, in the order of its header.
std::span<const code_info> all_codes();

/// Ends a command; what it holds is shown to the user.
struct problem : std::exception {
  exit_status status = exit_status::failed;
  std::optional<int> code;  ///< result code of the library, if it is one
  std::string name;
  std::string meaning;
  std::string detail;  ///< what exactly it is about; may be empty
  std::string advice;

  const char* what() const noexcept override { return meaning.c_str(); }
};

problem library_problem(int code, const std::string& detail = "");
/// A change that stopped after a part of it was made.
/// @param detail  which part, or what is left to do
problem partial_problem(int code, const std::string& detail);
/// A tool was ended since it took too long, and nothing else is wrong.
problem timeout_problem(const std::string& command);
/// A problem that came about since a tool was ended.
problem by_timeout(problem found, const std::string& command);
problem usage_problem(const std::string& meaning, const std::string& advice);

/// Ends the command unless the library's result is ORV_OK.
void check(int code);

}  // namespace orvctl

#endif
