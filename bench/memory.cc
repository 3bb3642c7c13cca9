// What the largest lists take of the heap: at the end, and at the highest point of the call.
#include <orv/scoped.h>

#include "bench/appliance.h"
#include "bench/heap.h"
#include "bench/row.h"

namespace bench {
namespace {

enum class moment { end, highest };

template <auto Getter, class List>
double heap_of(moment asked) {
  List list;
  const heap_watch heap;
  orv::check(list.read(Getter));
  return static_cast<double>(asked == moment::end ? heap.kept() : heap.peak());
}

template <auto Getter, class List>
double sum_of_records() {
  List list;
  orv::check(list.read(Getter));
  return static_cast<double>(list.size() * sizeof(typename List::record));
}

template <auto Getter, class List>
void add(rows& all, const std::string& name, std::function<void()> prepare) {
  const auto row_of = [&](moment asked, const std::string& what) {
    return row{what + name,
               "sum of the record sizes",
               1.1,
               "8 to 16 bytes of the allocator for each record; what a reader looks up in",
               prepare,
               [asked] { return heap_of<Getter, List>(asked); },
               sum_of_records<Getter, List>,
               1,
               unit::bytes};
  };
  all.push_back(row_of(moment::end, "memory of "));
  all.push_back(row_of(moment::highest, "peak memory of "));
}

}  // namespace

void add_memory(rows& all) {
  add<share_get, orv::share_list>(all, "share_get, 10,000 shares", [] { set_shares(10'000); });
  add<sys_user_get, orv::user_list>(all, "sys_user_get, 10,000 users", [] { set_users(10'000); });
  add<share_conn_get, orv::connection_list>(all, "share_conn_get, 10,000 connections",
                                            [] { set_connections(10'000); });
  add<fs_get, orv::file_system_list>(all, "fs_get, 10,000 file systems", [] {
    set_storage({4, 1, 10'000});
  });
}

}  // namespace bench
