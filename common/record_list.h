#ifndef ORV_COMMON_RECORD_LIST_H
#define ORV_COMMON_RECORD_LIST_H

#include <orv/list.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace orv {

/// What a family of records is made of. Each family specialises it for its list type:
///
///     template <> struct family<tag_mdinfo_list> {
///       using record = tag_md_info;
///       static constexpr std::size_t node_offset = offsetof(tag_md_info, list);
///       static constexpr auto init = md_conf_init;    // clears a record
///       static constexpr auto fini = md_conf_fini;    // clears it and releases what it owns
///     };
template <class List>
struct family;

template <class List>
using record_of = typename family<std::remove_const_t<List>>::record;

/// Zeroes every field of a record but its link, which is its last member.
template <class List>
void clear_fields(record_of<List>* record) {
  std::memset(static_cast<void*>(record), 0, family<List>::node_offset);
}

template <class List>
list_node* node_of(record_of<List>* record) {
  return reinterpret_cast<list_node*>(reinterpret_cast<char*>(record) + family<List>::node_offset);
}

template <class List>
record_of<List>* record_at(list_node* node) {
  return reinterpret_cast<record_of<List>*>(reinterpret_cast<char*>(node) -
                                            family<List>::node_offset);
}

/// The records of a list, in list order, for range-for. A NULL list has none.
template <class List>
class records {
  using record = std::conditional_t<std::is_const_v<List>, const record_of<List>, record_of<List>>;
  using bare_list = std::remove_const_t<List>;

 public:
  class iterator {
   public:
    explicit iterator(list_node* node) : node_(node) {}
    record& operator*() const { return *record_at<bare_list>(node_); }
    iterator& operator++() {
      node_ = node_->next;
      fetch_ahead(node_->next);
      return *this;
    }
    bool operator!=(const iterator& other) const { return node_ != other.node_; }

   private:
    /// Records lie far apart: the first and the last line of the next one's memory are on their way
    /// while this one is looked at.
    static void fetch_ahead(list_node* next) {
      __builtin_prefetch(record_at<bare_list>(next));
      __builtin_prefetch(next);
    }

    list_node* node_;
  };

  explicit records(List* list)
      : anchor_(list == nullptr ? nullptr : node_of<bare_list>(const_cast<bare_list*>(list))) {}
  iterator begin() const { return iterator(anchor_ == nullptr ? nullptr : anchor_->next); }
  iterator end() const { return iterator(anchor_); }

 private:
  list_node* anchor_;
};

inline void make_empty(list_node* anchor) { anchor->next = anchor->prev = anchor; }

/// Clears the list object's fields and makes the list empty.
template <class List>
void list_init(List* list) {
  if (list == nullptr) return;
  family<List>::init(list);
  make_empty(node_of<List>(list));
}

template <class List>
bool is_empty(const List* list) {
  const records<const List> all(list);
  return !(all.begin() != all.end());
}

/// The number of a list's records, for which it is walked.
template <class List>
std::size_t count(const List* list) {
  std::size_t found = 0;
  for ([[maybe_unused]] const record_of<List>& record : records<const List>(list)) ++found;
  return found;
}

/// Adds one cleared record at the tail. @return the record, or NULL without memory
template <class List>
record_of<List>* append(List* list) {
  auto* const record = static_cast<record_of<List>*>(std::malloc(sizeof(record_of<List>)));
  if (record == nullptr) return nullptr;
  family<List>::init(record);
  list_node* const anchor = node_of<List>(list);
  list_node* const node = node_of<List>(record);
  node->next = anchor;
  node->prev = anchor->prev;
  anchor->prev->next = node;
  anchor->prev = node;
  return record;
}

/// Unlinks a record and releases it.
template <class List>
void release(list_node* node) {
  node->prev->next = node->next;
  node->next->prev = node->prev;
  node->next = node->prev = nullptr;
  record_of<List>* const record = record_at<List>(node);
  family<List>::fini(record);
  std::free(record);
}

/// Releases the records for which a condition holds.
template <class List, class Condition>
void remove_if(List* list, Condition condition) {
  list_node* const anchor = node_of<List>(list);
  list_node* next = nullptr;
  for (list_node* node = anchor->next; node != anchor; node = next) {
    next = node->next;
    if (condition(*record_at<List>(node))) release<List>(node);
  }
}

/// Releases every record; the list may be filled again. @return 0, or -1 for a NULL list
template <class List>
int list_fini(List* list) {
  if (list == nullptr) {
    std::puts("Can't destory NULL list");
    return -1;
  }
  remove_if(list, [](const auto&) { return true; });
  return 0;
}

/// Shows every record with the family's show operation.
template <class List, class Show>
void list_show(List* list, Show show) {
  if (list == nullptr) {
    std::puts("Can't show NULL list");
    return;
  }
  for (auto& record : records(list)) show(&record);
}

/// A list that is initialised when it is made and released when it goes out of scope.
template <class List>
class scoped_list {
 public:
  scoped_list() { list_init(&list_); }
  ~scoped_list() { list_fini(&list_); }
  scoped_list(const scoped_list&) = delete;
  scoped_list& operator=(const scoped_list&) = delete;

  List* get() { return &list_; }
  auto begin() { return records<List>(&list_).begin(); }
  auto end() { return records<List>(&list_).end(); }

 private:
  List list_;
};

}  // namespace orv

#endif
