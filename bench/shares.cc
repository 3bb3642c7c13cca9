// Discovery and changes of shares at ten times the number of shares.
#include <orv/scoped.h>
#include <orv/support.h>

#include <stdexcept>

#include "bench/appliance.h"
#include "bench/clock.h"
#include "bench/getters.h"
#include "bench/machine.h"
#include "bench/row.h"
#include "bench/watch.h"

namespace bench {
namespace {

constexpr int few = 1'000;
constexpr int many = 10'000;

/// A side that first brings the machine to a number of shares.
side with_shares(int count, services used, side measured) {
  return [=] {
    set_shares(count, used);
    return measured();
  };
}

void get_shares() {
  orv::share_list shares;
  orv::check(shares.read(share_get));
  expect_records(shares);
}

/// Throws when the watch has seen none.
double opens_of(const std::string& path) {
  const watch watching;
  get_shares();
  return watching.seen().opens.at(path);
}

/// Of every file together, and of the tools.
double all_opens() {
  const watch watching;
  get_shares();
  std::size_t opens = watching.seen().commands.size();
  if (opens == 0 || watching.seen().opens.empty()) throw std::runtime_error("nothing seen");
  for (const auto& [path, count] : watching.seen().opens) opens += static_cast<std::size_t>(count);
  return static_cast<double>(opens);
}

tag_share_config share_called(const char* name) {
  tag_share_config share{};
  share_conf_init(&share);
  liborv_strncpy(share.name, sizeof share.name, name);
  liborv_strncpy(share.path, sizeof share.path, "/mnt/pool1/new");
  liborv_strncpy(share.service, sizeof share.service, "samba");
  return share;
}

void add_share() {
  tag_share_config share = share_called("new");
  orv::check(share_add(&share));
}

void mod_share() {
  tag_share_config share = share_called("share500");
  orv::check(share_mod(&share));
}

void del_share() { orv::check(share_del("share500", "samba")); }

struct change {
  const char* name;
  void (*make)();
};

constexpr change changes[] = {
    {"share_add", add_share}, {"share_mod", mod_share}, {"share_del", del_share}};

/// Throws when the watch has seen none.
double syncs_of(void (*make)(), int watched::*kind) {
  const watch watching;
  make();
  const int seen = watching.seen().*kind;
  if (seen == 0) throw std::runtime_error("no syncs");
  return seen;
}

/// Throws when the watch has seen none.
double rewrites_of(const std::string& path, void (*make)()) {
  const watch watching;
  make();
  return watching.seen().rewrites.at(path);
}

row counted(const std::string& name, const std::string& other, side ours, side others,
            const std::string& limit) {
  return {name, other, 1.0, limit, nullptr, std::move(ours), std::move(others), 1, unit::count};
}

}  // namespace

void add_share_get(rows& all) {
  const auto prepare = [] { set_storage({.disks = 4, .arrays = 1, .pools = 500}); };
  const side time = time_of(get_shares);
  all.push_back({"share_get, 10,000 shares", "share_get, 1,000 shares", 11,
                 "linear: statfs of each share's path, records, lookups", prepare,
                 with_shares(many, services::mixed, time), with_shares(few, services::mixed, time),
                 11});
  for (const std::string path : {"/etc/sharefolder.conf", "/etc/samba/smb.conf", "/etc/exports"}) {
    const side opens = [path] { return opens_of(path); };
    all.push_back(counted("opens of " + path + " by share_get, 10,000 shares",
                          "the same, 1,000 shares", with_shares(many, services::mixed, opens),
                          with_shares(few, services::mixed, opens),
                          "nothing: a file is read once"));
  }
  all.push_back(counted("opens of all files, and commands, of share_get, 10,000 shares",
                        "the same, 1,000 shares", with_shares(many, services::mixed, all_opens),
                        with_shares(few, services::mixed, all_opens),
                        "nothing: a file is read once"));
}

void add_share_changes(rows& all) {
  for (const change& each : changes) {
    const side time = time_of(each.make);
    const std::string name = each.name;
    all.push_back({name + ", 10,000 shares", name + ", 1,000 shares", 11,
                   "linear: both files are read and written whole", nullptr,
                   with_shares(many, services::samba, time),
                   with_shares(few, services::samba, time), 9});
    const auto make = each.make;
    const auto counting = [make](int watched::*kind) {
      return with_shares(many, services::samba, [=] { return syncs_of(make, kind); });
    };
    for (const std::string path : {"/etc/sharefolder.conf", "/etc/samba/smb.conf"}) {
      all.push_back(counted(
          "rewrites of " + path + " by " + name, "as many as allowed",
          with_shares(many, services::samba, [=] { return rewrites_of(path, make); }),
          [] { return 1.0; }, "nothing: the file itself is written once, and its text beside it"));
    }
    const side allowed = [] { return 2.0; };
    all.push_back(counted("file syncs of " + name, "as many as allowed",
                          counting(&watched::file_syncs), allowed,
                          "two files are changed, and a copy is kept of each"));
    all.push_back(counted("directory syncs of " + name, "as many as allowed",
                          counting(&watched::directory_syncs), allowed,
                          "two files are changed, and a copy is kept of each"));
  }
}

}  // namespace bench
