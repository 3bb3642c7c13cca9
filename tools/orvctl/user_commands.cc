#include "tools/orvctl/accounts.h"
#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/password.h"
#include "tools/orvctl/quiet_output.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

struct user_arguments {
  std::string name;
  std::string new_name;
};

constexpr column<tag_user_info> user_columns[] = {
    {"NAME", "name", form::text, [](const tag_user_info& user) { return text_value(user.name); }},
    {"TYPE", "type", form::text, [](const tag_user_info& user) { return text_value(user.type); }},
};

void list(session& run) {
  user_list users;
  const int result = sys_user_get(users.get());
  show_list(run, "users", make_table(user_columns, users), result);
}

/// A user with a password, which is cleared when it goes.
class user_request {
 public:
  user_request(const std::string& name, const secret& password) {
    set_field(record_.name, name, "the name of the user");
    set_field(record_.password, password.text(), "the password");
  }
  ~user_request() { explicit_bzero(record_.password, sizeof record_.password); }
  user_request(const user_request&) = delete;
  user_request& operator=(const user_request&) = delete;

  const tag_user_info& record() const { return record_; }

 private:
  tag_user_info record_{};
};

void add(session& run, const user_arguments& given) {
  must_fit(given.name, sizeof(tag_user_info::name), "the name of the user");
  must_be_free(given.name);
  const user_request request(given.name, read_new_password(run, given.name));
  check(without_output([&] { return sys_user_add(request.record()); }));
  report(run, "Added the user " + given.name + ".", {{"user", given.name}});
}

void check_modified(int result, const std::string& name) {
  if (result == ORV_OK || is_user(name)) return check(result);
  throw partial_problem(result, "the old user " + name + " is deleted");
}

// The library deletes the old user before it finds out that the new one cannot be added.
void modify(session& run, const user_arguments& given) {
  const std::string name = given.new_name.empty() ? given.name : given.new_name;
  must_fit(name, sizeof(tag_user_info::name), "the name of the user");
  must_be_user(given.name);
  if (name != given.name) must_be_free(name);
  const user_request request(name, read_new_password(run, name));
  check_modified(
      without_output([&] { return sys_user_modify(given.name.c_str(), request.record()); }),
      given.name);
  report(run, "Changed the user " + name + ".", {{"user", name}});
}

void remove(session& run, const user_arguments& given) {
  must_be_answerable(run);
  must_be_removable(given.name);
  confirm(run, "This user is removed, with its account and passwords; its files stay.", [&] {
    table doomed({{"USER", nullptr, form::text}});
    doomed.add({given.name});
    return doomed;
  });
  check(without_output([&] { return sys_user_delete(given.name.c_str()); }));
  report(run, "Deleted the user " + given.name + ".", {{"user", given.name}});
}

void verify(session& run, const user_arguments& given) {
  const secret password = read_password(run, "Password of " + given.name + ": ");
  const int result = without_output(
      [&] { return sys_user_validpwd(given.name.c_str(), password.text().c_str()); });
  if (result != ORV_E_PASSWORD) check(result);
  const bool right = result == ORV_OK;
  answer(run, right,
         right ? "This is the password of " + given.name + "."
               : "This is not the password of " + given.name + ".",
         {{"user", given.name}, {"password_matches", right}});
}

CLI::App& add_user_verb(CLI::App& verb, session& run, const std::shared_ptr<user_arguments>& given,
                        void (*action)(session&, const user_arguments&)) {
  add_word(verb, "NAME", given->name, "login name");
  on_run(verb, run, given, action);
  return verb;
}

}  // namespace

void add_user_commands(CLI::App& program, session& run) {
  CLI::App& user = add_noun(program, "user", "Users of the shares", "orvctl user add ann");
  add_list(user, run, "list", "Show the users", "orvctl user list", list);
  add_user_verb(
      add_changing_verb(user, run, "add", "Add a user; asks for its password, or reads a line",
                        "orvctl user add ann < password.txt"),
      run, std::make_shared<user_arguments>(), add);

  const auto changes = std::make_shared<user_arguments>();
  CLI::App& modifying =
      add_changing_verb(user, run, "modify", "Change a user's password, and its name if asked to",
                        "orvctl user modify ann --name anna");
  add_user_verb(modifying, run, changes, modify);
  add_option(modifying, "--name", changes->new_name, "new login name").type_name("NAME");

  add_user_verb(add_destroying_verb(user, run, "delete", "Remove a user; its files stay",
                                    "orvctl user delete ann"),
                run, std::make_shared<user_arguments>(), remove);
  add_user_verb(
      add_verb(user, run, "check", "Say whether a password is the user's (exit status 0 or 3)",
               "orvctl user check ann"),
      run, std::make_shared<user_arguments>(), verify);
}

}  // namespace orvctl
