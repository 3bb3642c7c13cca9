#ifndef ORVCTL_RECORDS_H
#define ORVCTL_RECORDS_H

#include <orv.h>

#include <cstddef>
#include <cstdlib>
#include <new>

/// The library's lists as this tool holds them: released on every path, walked with range-for.

namespace orvctl {

/// The link of a record or of a list; some families name it "list", the others "node".
template <class record>
auto& link_of(record& of) {
  if constexpr (requires { of.list; }) {
    return of.list;
  } else {
    return of.node;
  }
}

/// The record that a link belongs to. The link is the last member of every record.
template <class record>
record& record_of(list_node* link) {
  constexpr std::size_t offset = sizeof(record) - sizeof(list_node);
  return *reinterpret_cast<record*>(reinterpret_cast<char*>(link) - offset);
}

/// Walks the records of any list of the library.
template <class record>
class records_of {
 public:
  explicit records_of(const list_node& anchor) : anchor_(&anchor) {}

  class iterator {
   public:
    explicit iterator(list_node* at) : at_(at) {}
    record& operator*() const { return record_of<record>(at_); }
    iterator& operator++() {
      at_ = at_->next;
      return *this;
    }
    bool operator!=(const iterator& other) const { return at_ != other.at_; }

   private:
    list_node* at_;
  };

  iterator begin() const { return iterator(anchor_->next); }
  iterator end() const { return iterator(const_cast<list_node*>(anchor_)); }

 private:
  const list_node* anchor_;
};

/// Appends a fresh record to any list of the library, which then owns it.
template <class record>
record& append(list_node& anchor, void (*init)(record*)) {
  auto* made = static_cast<record*>(std::malloc(sizeof(record)));
  if (made == nullptr) throw std::bad_alloc();
  init(made);
  made->list = {&anchor, anchor.prev};
  anchor.prev->next = &made->list;
  anchor.prev = &made->list;
  return *made;
}

template <class anchor, class record, void (*init)(anchor*), int (*fini)(anchor*)>
class scoped_list {
 public:
  using record_type = record;

  scoped_list() { init(&list_); }
  ~scoped_list() { fini(&list_); }
  scoped_list(const scoped_list&) = delete;
  scoped_list& operator=(const scoped_list&) = delete;

  anchor* get() { return &list_; }
  auto begin() const { return records_of<record>(link_of(list_)).begin(); }
  auto end() const { return records_of<record>(link_of(list_)).end(); }

 private:
  anchor list_;
};

using disk_list = scoped_list<tag_diskinfo_list, tag_disk_info, disk_list_init, disk_list_fini>;
using raid_list = scoped_list<tag_mdinfo_list, tag_md_info, md_list_init, md_list_fini>;
using vg_list = scoped_list<tag_vginfo_list, tag_vg_info, vg_list_init, vg_list_fini>;
using pool_list = scoped_list<tag_poolinfo_list, tag_pool_info, pool_list_init, pool_list_fini>;
using fs_list = scoped_list<tag_fsinfo_list, tag_fs_info, fs_list_init, fs_list_fini>;
using share_list =
    scoped_list<tag_shareconf_list, tag_share_config, share_list_init, share_list_fini>;
using client_list = scoped_list<tag_shareconn_list, tag_share_conn, conn_list_init, conn_list_fini>;
using user_list = scoped_list<tag_user_info_list, tag_user_info, user_list_init, user_list_fini>;
using alarm_list = scoped_list<tag_alarm_list, tag_alarm_info, alarm_list_init, alarm_list_fini>;
using interface_list =
    scoped_list<tag_netcard_list, tag_netcard, netcard_list_init, netcard_list_fini>;

}  // namespace orvctl

#endif
