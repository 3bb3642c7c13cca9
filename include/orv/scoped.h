#ifndef ORV_SCOPED_H
#define ORV_SCOPED_H

/// The comfortable edge for C++ programs: lists that initialise and release themselves and are
/// walked with range-for, and results that know their name.
///
///     orv::disk_list disks;
///     if (const orv::result result = disks.read(disks_info_get); !result) {
///       std::cerr << result.text() << '\n';  // ORV_E_DISK_DRIVER (-1021): the disk driver's ...
///     }
///     for (const tag_disk_info& disk : disks) std::cout << disk.ch << ' ' << disk.model << '\n';
///
///     orv::check(raid_create(&request), "raid_create");  // throws orv::error
///
///     const orv::tool_timeout limit(30);  // from here on no command takes longer than 30 seconds
///
/// Optional and header-only: the libraries export nothing of it, orv.h does not include it, and
/// whoever prefers plain functions loses nothing. What it throws is said with each function; all
/// else throws nothing.

#include <orv/alarm.h>
#include <orv/disk.h>
#include <orv/errors.h>
#include <orv/fs.h>
#include <orv/list.h>
#include <orv/lvm.h>
#include <orv/network.h>
#include <orv/raid.h>
#include <orv/service.h>
#include <orv/share.h>
#include <orv/support.h>
#include <orv/user.h>

#include <concepts>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string>
#include <system_error>
#include <type_traits>

namespace orv {

// --- Results -------------------------------------------------------------------------------------

/// The name of a result code as the headers write it, such as "ORV_E_NO_RAID".
/// @return a text that lives for ever; "unknown" for a number that is no result code
constexpr const char* name_of(int code) noexcept {
  switch (code) {
#define ORV_RESULT_NAME(name, value, meaning) \
  case name:                                  \
    return #name;
    ORV_RESULT_CODES(ORV_RESULT_NAME)
#undef ORV_RESULT_NAME
    default:
      return "unknown";
  }
}

/// The category of the library's codes in `std::error_code`: its name is "orv", its messages are
/// those of `orv_strerror`.
inline const std::error_category& category() noexcept {
  /// What the standard library asks of a category.
  class result_category final : public std::error_category {
   public:
    const char* name() const noexcept override { return "orv"; }
    std::string message(int code) const override { return orv_strerror(code); }
  };
  static const result_category only;
  return only;
}

/// What a function of the library returned. A negative number is a failure; everything else is
/// success, also where it is an answer, a count or a descriptor.
class result {
 public:
  /// Not explicit: `orv::result result = raid_destroy("md0");`
  constexpr result(int code) noexcept : code_(code) {}

  /// True for success.
  constexpr explicit operator bool() const noexcept { return code_ >= 0; }
  /// The number itself.
  constexpr int code() const noexcept { return code_; }
  /// The code's name, as `name_of`.
  constexpr const char* name() const noexcept { return name_of(code_); }
  /// The code's one-line meaning, as `orv_strerror`.
  const char* meaning() const noexcept { return orv_strerror(code_); }
  /// "NAME (NUMBER): MEANING". Throws `std::bad_alloc` without memory.
  std::string text() const {
    return std::string(name()) + " (" + std::to_string(code_) + "): " + meaning();
  }
  /// The code in `category()`; of a success an error code that is no error.
  operator std::error_code() const noexcept {
    return {code_ < 0 ? code_ : 0, code_ < 0 ? category() : std::system_category()};
  }
  /// Two results are equal when their numbers are; a result may be compared with a code's name.
  friend constexpr bool operator==(result, result) noexcept = default;

 private:
  int code_;
};

/// A failure of the library as an exception: its `code()` is in `category()`.
class error : public std::system_error {
 public:
  /// @param failure  a negative code
  /// @param doing    what was being done, such as the function's name; may be empty
  explicit error(result failure, const std::string& doing = {})
      : std::system_error(failure.code(), category()),
        text_((doing.empty() ? doing : doing + ": ") + failure.text()) {}

  /// The code's name, such as "ORV_E_NO_RAID".
  const char* name() const noexcept { return name_of(code().value()); }
  /// The code's one-line meaning.
  const char* meaning() const noexcept { return orv_strerror(code().value()); }
  /// "DOING: NAME (NUMBER): MEANING".
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

/// Passes a success on. Throws `orv::error` for a failure.
/// @param doing  what was being done, for the text of the error
/// @return the number that was given
inline int check(result result, const std::string& doing = {}) {
  if (!result) throw error(result, doing);
  return result.code();
}

// --- Limits of time ------------------------------------------------------------------------------

/// A limit for the commands of this thread, as `orv_set_tool_timeout`, until it goes out of scope;
/// then the limit is what it was before. To be made and destroyed on one thread.
class tool_timeout {
 public:
  /// @param seconds  the limit of each command; 0: none
  explicit tool_timeout(unsigned seconds) noexcept : former_(orv_set_tool_timeout(seconds)) {}
  ~tool_timeout() { orv_set_tool_timeout(former_); }
  tool_timeout(const tool_timeout&) = delete;
  tool_timeout& operator=(const tool_timeout&) = delete;

 private:
  unsigned former_;
};

// --- Record families -----------------------------------------------------------------------------

/// What a list type of the library is made of: the type of its records, where their link lies, and
/// the functions that initialise and release a record and a list.
template <class List>
struct family;

#define ORV_FAMILY(list_type, record_type, link, record_name, list_name)          \
  template <>                                                                     \
  struct family<list_type> {                                                      \
    using record = record_type;                                                   \
    static constexpr std::size_t link_offset = offsetof(record_type, link);       \
    static void init(record* cleared) noexcept { record_name##_init(cleared); }   \
    static void fini(record* released) noexcept { record_name##_fini(released); } \
    static void init_list(list_type* list) noexcept { list_name##_init(list); }   \
    static void fini_list(list_type* list) noexcept { list_name##_fini(list); }   \
  }
ORV_FAMILY(tag_diskinfo_list, tag_disk_info, list, disk_conf, disk_list);
ORV_FAMILY(tag_disksmart_list, tag_disksmart_info, list, smart_conf, smart_list);
ORV_FAMILY(tag_mdinfo_list, tag_md_info, list, md_conf, md_list);
ORV_FAMILY(tag_pvinfo_list, tag_pv_info, list, pv_conf, pv_list);
ORV_FAMILY(tag_vginfo_list, tag_vg_info, list, vg_conf, vg_list);
ORV_FAMILY(tag_poolinfo_list, tag_pool_info, list, pool_conf, pool_list);
ORV_FAMILY(tag_fsinfo_list, tag_fs_info, list, fs_conf, fs_list);
ORV_FAMILY(tag_shareconf_list, tag_share_config, list, share_conf, share_list);
ORV_FAMILY(tag_shareconn_list, tag_share_conn, node, conn_conf, conn_list);
ORV_FAMILY(tag_user_info_list, tag_user_info, node, user_info, user_list);
ORV_FAMILY(tag_alarm_list, tag_alarm_info, node, alarm_conf, alarm_list);
ORV_FAMILY(tag_netcard_list, tag_netcard, node, netcard_info, netcard_list);
#undef ORV_FAMILY

/// A list type that has a family.
template <class List>
concept record_list = requires {
  typename family<std::remove_const_t<List>>::record;
};

// --- Walking a list ------------------------------------------------------------------------------

/// The records of a list that somebody else owns, in list order, for range-for and algorithms: a
/// list of the plain functions, or the list that lies in a record:
///
///     for (const tag_pv_info& volume : orv::records(group.pvs)) ...
///
/// Of a const list the records are const. The records must not go while an iterator is at them.
template <record_list List>
class records {
  using family_type = family<std::remove_const_t<List>>;
  using bare_record = typename family_type::record;

 public:
  /// The type of one record, const for a const list.
  using record = std::conditional_t<std::is_const_v<List>, const bare_record, bare_record>;

  /// A bidirectional iterator.
  class iterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;  ///< how it may be moved
    using value_type = bare_record;                             ///< what it is at
    using difference_type = std::ptrdiff_t;                     ///< never counted by it
    using pointer = record*;                                    ///< what `->` gives
    using reference = record&;                                  ///< what `*` gives

    /// At no record.
    iterator() noexcept = default;
    /// At the record of this link.
    explicit iterator(list_node* at) noexcept : at_(at) {}
    /// The record.
    reference operator*() const noexcept { return *operator->(); }
    /// The record.
    pointer operator->() const noexcept {
      return reinterpret_cast<pointer>(reinterpret_cast<char*>(at_) - family_type::link_offset);
    }
    /// To the next record.
    iterator& operator++() noexcept {
      at_ = at_->next;
      return *this;
    }
    /// To the next record; the iterator as it was.
    iterator operator++(int) noexcept {
      const iterator before = *this;
      at_ = at_->next;
      return before;
    }
    /// To the record before.
    iterator& operator--() noexcept {
      at_ = at_->prev;
      return *this;
    }
    /// To the record before; the iterator as it was.
    iterator operator--(int) noexcept {
      const iterator before = *this;
      at_ = at_->prev;
      return before;
    }
    /// Equal at the same record.
    friend bool operator==(const iterator&, const iterator&) noexcept = default;

   private:
    list_node* at_ = nullptr;
  };

  /// @param list  initialised
  explicit records(List& list) noexcept : anchor_(link_of(list)) {}

  /// At the first record.
  iterator begin() const noexcept { return iterator(anchor_->next); }
  /// Behind the last record.
  iterator end() const noexcept { return iterator(anchor_); }
  /// True without a record.
  bool empty() const noexcept { return anchor_->next == anchor_; }
  /// The number of records, which are counted.
  std::size_t size() const noexcept {
    return static_cast<std::size_t>(std::distance(begin(), end()));
  }

 private:
  static list_node* link_of(List& list) noexcept {
    auto* const bytes = reinterpret_cast<char*>(const_cast<std::remove_const_t<List>*>(&list));
    return reinterpret_cast<list_node*>(bytes + family_type::link_offset);
  }

  list_node* anchor_;
};

/// Appends a fresh record to a list, which then owns it. Throws `std::bad_alloc` without memory.
template <record_list List>
typename family<List>::record& append(List& list) {
  using record = typename family<List>::record;
  const auto link_in = [](auto& of) {
    return reinterpret_cast<list_node*>(reinterpret_cast<char*>(&of) + family<List>::link_offset);
  };
  auto* const made = static_cast<record*>(std::calloc(1, sizeof(record)));
  if (made == nullptr) throw std::bad_alloc();
  family<List>::init(made);
  list_node* const end = link_in(list);
  list_node* const link = link_in(*made);
  *link = {end, end->prev};
  end->prev->next = link;
  end->prev = link;
  return *made;
}

// --- Owning a list -------------------------------------------------------------------------------

/// A list that is initialised when it is made and released when it goes out of scope. It can be
/// moved, not copied. Different lists may be used by several threads at the same time.
template <record_list List>
class scoped_list {
  using family_type = family<List>;

 public:
  /// The type of one record.
  using record = typename family_type::record;
  /// An iterator at a record that may be changed.
  using iterator = typename records<List>::iterator;
  /// An iterator at a record that may be read.
  using const_iterator = typename records<const List>::iterator;

  /// An empty list.
  scoped_list() noexcept { family_type::init_list(&list_); }
  /// Takes the records over; the other list is empty then. The fields of the list object itself,
  /// which a few getters read, start anew.
  scoped_list(scoped_list&& other) noexcept : scoped_list() { take(other); }
  /// Releases the records and takes the others over, as the move constructor does.
  scoped_list& operator=(scoped_list&& other) noexcept {
    if (this == &other) return *this;
    clear();
    take(other);
    return *this;
  }
  /// Releases the records.
  ~scoped_list() { clear(); }

  /// The list as the plain functions take it; it stays this object's.
  List* get() noexcept { return &list_; }
  /// The list's own fields, which a few getters read: `disks->smart.smart_enabled`.
  List* operator->() noexcept { return &list_; }

  /// Releases the records and fills the list with a getter.
  /// @param getter  takes the list: `disks_info_get`, or a lambda
  /// @return the getter's result; what it appended before a failure is in the list
  template <std::invocable<List*> Getter>
  result read(Getter&& getter) {
    clear();
    return getter(&list_);
  }

  /// Appends a fresh record, which the list owns. Throws `std::bad_alloc` without memory.
  record& append() { return orv::append(list_); }

  /// Releases the record at an iterator. @return an iterator at the record behind it
  iterator erase(iterator at) noexcept {
    record* const released = &*at++;
    list_node& link = link_of(*released);
    link.prev->next = link.next;
    link.next->prev = link.prev;
    family_type::fini(released);
    std::free(released);
    return at;
  }

  /// Releases every record. The list's own fields stay.
  void clear() noexcept { family_type::fini_list(&list_); }

  /// At the first record.
  iterator begin() noexcept { return records<List>(list_).begin(); }
  /// Behind the last record.
  iterator end() noexcept { return records<List>(list_).end(); }
  /// At the first record.
  const_iterator begin() const noexcept { return records<const List>(list_).begin(); }
  /// Behind the last record.
  const_iterator end() const noexcept { return records<const List>(list_).end(); }
  /// True without a record.
  bool empty() const noexcept { return records<const List>(list_).empty(); }
  /// The number of records, which are counted.
  std::size_t size() const noexcept { return records<const List>(list_).size(); }

 private:
  static list_node& link_of(record& of) noexcept {
    return *reinterpret_cast<list_node*>(reinterpret_cast<char*>(&of) + family_type::link_offset);
  }
  list_node* anchor() noexcept { return &link_of(list_); }

  // This list is empty.
  void take(scoped_list& other) noexcept {
    if (other.empty()) return;
    list_node* const mine = anchor();
    list_node* const theirs = other.anchor();
    *mine = *theirs;
    mine->next->prev = mine->prev->next = mine;
    *theirs = {theirs, theirs};
  }

  List list_{};
};

using disk_list = scoped_list<tag_diskinfo_list>;              ///< physical disks
using smart_attribute_list = scoped_list<tag_disksmart_list>;  ///< SMART attributes of a disk
using array_list = scoped_list<tag_mdinfo_list>;               ///< RAID arrays
using physical_volume_list = scoped_list<tag_pvinfo_list>;     ///< physical volumes of a group
using volume_group_list = scoped_list<tag_vginfo_list>;        ///< volume groups
using pool_list = scoped_list<tag_poolinfo_list>;              ///< pools
using file_system_list = scoped_list<tag_fsinfo_list>;         ///< file systems
using share_list = scoped_list<tag_shareconf_list>;            ///< shares
using connection_list = scoped_list<tag_shareconn_list>;       ///< connections of clients
using user_list = scoped_list<tag_user_info_list>;             ///< users
using alarm_list = scoped_list<tag_alarm_list>;                ///< alarms
using network_interface_list = scoped_list<tag_netcard_list>;  ///< network interfaces

}  // namespace orv

namespace std {
/// Lets a code's name become a `std::error_code`: `std::error_code failure = ORV_E_NO_RAID;`
template <>
struct is_error_code_enum<orv_result_code> : true_type {};
}  // namespace std

/// The code in `orv::category()`, as `orv::result` makes it; `std::error_code` calls it.
inline std::error_code make_error_code(orv_result_code code) noexcept { return orv::result(code); }

#endif
