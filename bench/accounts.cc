// Users and connections, ten times as many.
#include <orv/scoped.h>
#include <orv/support.h>

#include "bench/appliance.h"
#include "bench/clock.h"
#include "bench/getters.h"
#include "bench/row.h"

namespace bench {
namespace {

constexpr double linear = 11;

void get_users() {
  orv::user_list users;
  orv::check(users.read(sys_user_get));
  expect_records(users);
}

void add_user() {
  tag_user_info user{};
  liborv_strncpy(user.name, sizeof user.name, "newcomer");
  liborv_strncpy(user.password, sizeof user.password, "secret");
  orv::check(sys_user_add(user));
}

void get_connections() {
  orv::connection_list connections;
  orv::check(connections.read(share_conn_get));
  expect_records(connections);
}

template <class SetUp>
side at(int count, SetUp set_up, void (*work)()) {
  return [=] {
    set_up(count);
    return timed(work);
  };
}

}  // namespace

void add_users(rows& all) {
  all.push_back({"sys_user_get, 10,000 users", "sys_user_get, 1,000 users", linear,
                 "linear: the records", nullptr, at(10'000, set_users, get_users),
                 at(1'000, set_users, get_users), 101});
  all.push_back({"sys_user_add, 10,000 users", "sys_user_add, 1,000 users", linear,
                 "linear: the account files are read and the user file is written whole", nullptr,
                 at(10'000, set_users, add_user), at(1'000, set_users, add_user), 9});
  all.push_back({"share_conn_get, 10,000 connections", "share_conn_get, 1,000 connections", linear,
                 "linear: the three listings", nullptr,
                 at(10'000, set_connections, get_connections),
                 at(1'000, set_connections, get_connections), 9});
}

}  // namespace bench
