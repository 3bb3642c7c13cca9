#include <cstdint>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/long_work.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

struct pool_arguments {
  std::string group;
  std::string pool;
  std::uint64_t size = 0;
};

json short_name(const tag_pool_info& pool) {
  const std::string path = pool.poolname;
  return text_value(path.substr(path.rfind('/') + 1));
}

constexpr column<tag_pool_info> pool_columns[] = {
    {"GROUP", "volume_group", form::text,
     [](const tag_pool_info& pool) { return text_value(pool.vgname); }},
    {"POOL", "name", form::text, short_name},
    {"SIZE", "size_bytes", form::gib,
     [](const tag_pool_info& pool) { return gib_value(pool.size); }},
    {"STATE", "state", form::state,
     [](const tag_pool_info& pool) { return text_value(pool.state); }},
    {"ENCLOSURE", "enclosure", form::number,
     [](const tag_pool_info& pool) { return text_value(pool.enclosure); }},
    {"DEVICE", "device", form::text,
     [](const tag_pool_info& pool) { return text_value(pool.poolname); }},
};

void list(session& run) {
  pool_list pools;
  const int result = pool_get(pools.get());
  show_list(run, "pools", make_table(pool_columns, pools), result);
}

json names(const pool_arguments& given) {
  return {{"volume_group", given.group}, {"pool", given.pool}};
}

std::string path_of(const pool_arguments& given) { return given.group + "/" + given.pool; }

// The pool, as `pool list` shows it.
table lost_pool(const pool_arguments& given) {
  check(check_pool_vg(given.pool.c_str(), given.group.c_str(), 0));
  pool_list pools;
  check(pool_get(pools.get()));
  std::vector<std::reference_wrapper<const tag_pool_info>> lost;
  for (const tag_pool_info& pool : pools) {
    if ("/dev/" + path_of(given) == pool.poolname) lost.emplace_back(pool);
  }
  return make_table(pool_columns, lost);
}

void create(session& run, const pool_arguments& given) {
  check(pool_create(given.pool.c_str(), given.group.c_str(), given.size));
  report(run, "Created " + path_of(given) + ".", names(given));
}

void extend(session& run, const pool_arguments& given) {
  check(pool_extend(given.pool.c_str(), given.group.c_str(), given.size));
  report(run, "Extended " + path_of(given) + " to " + std::to_string(given.size) + " GiB.",
         names(given));
}

void destroy(session& run, const pool_arguments& given) {
  confirm(run, "This pool is removed: all data on it will be lost.",
          [&] { return lost_pool(given); });
  check(pool_destroy(given.pool.c_str(), given.group.c_str()));
  report(run, "Destroyed " + path_of(given) + ".", names(given));
}

void make_file_system(session& run, const pool_arguments& given) {
  confirm(run, "This pool gets a new file system: all data on it will be lost.",
          [&] { return lost_pool(given); });
  const begins said(run, "Making a file system on " + path_of(given) + ".");
  check(mkfs_pool(given.pool.c_str(), given.group.c_str()));
  report(run, "Made a file system on " + path_of(given) + ".", names(given));
}

std::shared_ptr<pool_arguments> add_names(CLI::App& verb) {
  const auto given = std::make_shared<pool_arguments>();
  add_word(verb, "VG", given->group, "volume group of the pool");
  add_word(verb, "POOL", given->pool, "name of the pool");
  return given;
}

std::shared_ptr<pool_arguments> add_names_and_size(CLI::App& verb, const std::string& about) {
  const auto given = add_names(verb);
  add_option(verb, "SIZE_GIB", given->size, about).required().type_name("").check(whole_number);
  return given;
}

}  // namespace

void add_pool_commands(CLI::App& program, session& run) {
  CLI::App& pool = add_noun(program, "pool", "Pools: volumes that carry one file system each",
                            "orvctl pool create vg1 data 500");
  add_list(pool, run, "list", "Show all pools", "orvctl pool list --json", list);

  CLI::App& creating =
      add_changing_verb(pool, run, "create", "Create a pool", "orvctl pool create vg1 data 500");
  on_run(creating, run, add_names_and_size(creating, "size in GiB"), create);

  CLI::App& extending = add_changing_verb(pool, run, "extend", "Make a pool larger",
                                          "orvctl pool extend vg1 data 800");
  on_run(extending, run,
         add_names_and_size(extending, "new total size in GiB, which the group must have free"),
         extend);

  CLI::App& destroying = add_destroying_verb(pool, run, "destroy", "Remove a pool and its data",
                                             "orvctl pool destroy vg1 data");
  on_run(destroying, run, add_names(destroying), destroy);

  CLI::App& formatting = add_destroying_verb(pool, run, "mkfs", "Make the file system of a pool",
                                             "orvctl pool mkfs vg1 data");
  on_run(formatting, run, add_names(formatting), make_file_system);
}

}  // namespace orvctl
