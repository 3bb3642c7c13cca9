#include "tools/orvctl/password.h"

#include <orv/user.h>

#include <istream>
#include <ostream>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/hidden_typing.h"
#include "tools/orvctl/signals.h"

namespace orvctl {
namespace {

/// A rehearsal asks nothing. What stands for the password is also what its plan may show of it.
constexpr char shown_in_plans[] = "***";

bool is_typed(const session& run) { return run.io.interactive || run.io.terminal >= 0; }

problem refused(const std::string& meaning, const std::string& advice) {
  problem result = usage_problem(meaning, advice);
  result.status = exit_status::failed;
  result.name = "password";
  return result;
}

secret read_line(const session& run) {
  secret line;
  char c = 0;
  while (run.io.in.get(c) && c != '\n' && line.append(c)) {
  }
  if (run.io.in || !line.text().empty()) return line;
  throw refused("no password was given", "type it, or write it to standard input as one line");
}

secret ask(const session& run, const std::string& prompt) {
  const interruptible before_anything_is_done;
  run.io.err << prompt << std::flush;
  secret line = [&] {
    const hidden_typing hidden(run.io.terminal);
    return read_line(run);
  }();
  run.io.err << '\n';
  return line;
}

void must_be_usable(const std::string& password) {
  if (password.empty()) throw refused("the password is empty", "give one");
  must_fit(password, sizeof(tag_user_info::password), "the password");
}

}  // namespace

secret read_password(const session& run, const std::string& prompt) {
  secret password = is_typed(run) ? ask(run, prompt) : read_line(run);
  // The library would take what stands before it.
  if (password.text().find('\0') != std::string::npos) {
    throw refused("the password holds a NUL character", "give one without it");
  }
  return password;
}

secret read_new_password(const session& run, const std::string& user) {
  if (run.planned != nullptr) return secret(shown_in_plans);
  secret password = read_password(run, "New password of " + user + ": ");
  must_be_usable(password.text());
  if (is_typed(run) && ask(run, "The same again: ").text() != password.text()) {
    throw refused("the passwords are not the same, and so nothing was changed", "try again");
  }
  return password;
}

}  // namespace orvctl
