// What the largest lists take of the heap: at the end, and at the highest point of the call.
#include <orv/scoped.h>

#include <stdexcept>
#include <string>

#include "bench/appliance.h"
#include "bench/heap.h"
#include "bench/row.h"

namespace bench {
namespace {

enum class moment { end, highest };

constexpr int records = 10'000;

/// The list's, for each record of it.
template <auto Getter, class List>
double heap_of_record(moment asked) {
  List list;
  const heap_watch heap;
  orv::check(list.read(Getter));
  const auto bytes = asked == moment::end ? heap.kept() : heap.peak();
  if (bytes == 0) throw std::runtime_error("the heap is not watched");
  if (list.size() != records) throw std::runtime_error(std::to_string(list.size()) + " records");
  return static_cast<double>(bytes) / records;
}

template <auto Getter, class List>
void add(rows& all, const std::string& name, std::function<void()> prepare) {
  const auto row_of = [&](moment asked, const std::string& what) {
    return row{what + name,
               "the record itself",
               1.1,
               "8 to 16 bytes of the allocator for each record; what a reader looks up in",
               prepare,
               [asked] { return heap_of_record<Getter, List>(asked); },
               [] { return static_cast<double>(sizeof(typename List::record)); },
               1,
               unit::bytes};
  };
  all.push_back(row_of(moment::end, "memory of a record of "));
  all.push_back(row_of(moment::highest, "peak memory for a record of "));
}

}  // namespace

void add_memory(rows& all) {
  add<share_get, orv::share_list>(all, "share_get, 10,000 shares", [] { set_shares(records); });
  add<sys_user_get, orv::user_list>(all, "sys_user_get, 10,000 users", [] { set_users(records); });
  add<share_conn_get, orv::connection_list>(all, "share_conn_get, 10,000 connections",
                                            [] { set_connections(records); });
  add<fs_get, orv::file_system_list>(all, "fs_get, 10,000 file systems", [] {
    set_storage({4, 1, records});
  });
}

}  // namespace bench
