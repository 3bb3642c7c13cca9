#include "bindings/python/families.h"
#include "bindings/python/functions.h"
#include "tools/orvctl/accounts.h"

namespace orv_python {
namespace {

// Passwords and numbers are left out: a front end shows neither, and the file keeps no numbers.
const field<tag_user_info> fields[] = {
    text_field<&tag_user_info::name>("name", "login name"),
    text_field<&tag_user_info::type>("type",
                                     "'NAS', or 'SAN' for a password of 12 characters or more"),
};

using user_name = text<sizeof(tag_user_info::name)>;
using user_password = text<sizeof(tag_user_info::password)>;

tag_user_info request_of(const user_name& name, const user_password& password) {
  tag_user_info request{};
  fill(request.name, name);
  fill(request.password, password);
  return request;
}

void add(const user_name& name, const user_password& password) {
  orvctl::must_be_free(name.c());
  check(sys_user_add(request_of(name, password)));
}

// The library deletes the old user before it finds out that the new one cannot be added.
void modify(const user_name& name, const user_password& password,
            const maybe<user_name>& new_name) {
  const user_name& wanted = new_name.c() ? *new_name.c() : name;
  orvctl::must_be_user(name.c());
  if (std::string(wanted.c()) != name.c()) orvctl::must_be_free(wanted.c());
  check(sys_user_modify(name.c(), request_of(wanted, password)));
}

void remove(const user_name& name) {
  orvctl::must_be_removable(name.c());
  check(sys_user_delete(name.c()));
}

bool has_password(const user_name& name, const user_password& password) {
  const int result = sys_user_validpwd(name.c(), password.c());
  if (result == ORV_E_PASSWORD) return false;
  check(result);
  return true;
}

using of_name = parameter<"name", user_name>;
using of_password = parameter<"password", user_password>;

}  // namespace

void add_users(py::module_& module) {
  declare<tag_user_info>(module, "User", "One user of the shares.", fields);

  define(module, "user_list", turn::users, "The users of the shares.",
         query<orv::user_list, sys_user_get>());
  define<of_name, of_password>(module, "user_add", turn::users, "Adds a user.", add);
  define<of_name, of_password, parameter<"new_name", maybe<user_name>, "None">>(
      module, "user_modify", turn::users,
      "Changes a user's password, and its name when a new one is given. The user is deleted and\n"
      "added: when that fails, the user is gone.",
      modify);
  define<of_name>(module, "user_delete", turn::users,
                  "Removes a user; its files stay. Accounts of the system are refused.", remove);
  define<of_name, of_password>(module, "user_check", turn::users,
                               "Whether this is the user's password.", has_password);
}

}  // namespace orv_python
