#include <orv.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tests/sandbox/sandbox.h"

namespace {

/// Of a family that shows a record by one `printf`.
constexpr std::string_view whole_line;

/// One row for each family of records: its public operations under common names, and what the last
/// `printf` prints that shows a record with nothing but a name.
#define FAMILY(name, list_type, record_type, conf, lists, printed_last)     \
  struct name {                                                             \
    using list = list_type;                                                 \
    using record = record_type;                                             \
    static constexpr std::string_view last_piece = printed_last;            \
    static void init(record* cleared) { conf##_init(cleared); }             \
    static auto fini(record* released) { return conf##_fini(released); }    \
    static int show(record* shown) { return conf##_show(shown); }           \
    static void list_init(list* made) { lists##_init(made); }               \
    static int list_fini(list* released) { return lists##_fini(released); } \
    static void list_show(list* shown) { lists##_show(shown); }             \
  }

FAMILY(disks, tag_diskinfo_list, tag_disk_info, disk_conf, disk_list, "\t'0'\n");
FAMILY(smart_attributes, tag_disksmart_list, tag_disksmart_info, smart_conf, smart_list, "\t\n");
FAMILY(arrays, tag_mdinfo_list, tag_md_info, md_conf, md_list, whole_line);
FAMILY(physical_volumes, tag_pvinfo_list, tag_pv_info, pv_conf, pv_list, whole_line);
FAMILY(volume_groups, tag_vginfo_list, tag_vg_info, vg_conf, vg_list, whole_line);
FAMILY(pools, tag_poolinfo_list, tag_pool_info, pool_conf, pool_list, whole_line);
FAMILY(file_systems, tag_fsinfo_list, tag_fs_info, fs_conf, fs_list, whole_line);
FAMILY(shares, tag_shareconf_list, tag_share_config, share_conf, share_list, whole_line);
FAMILY(connections, tag_shareconn_list, tag_share_conn, conn_conf, conn_list, "\t''\n");
FAMILY(users, tag_user_info_list, tag_user_info, user_info, user_list, "\t0\n");
FAMILY(alarms, tag_alarm_list, tag_alarm_info, alarm_conf, alarm_list, "\t''");
FAMILY(network_cards, tag_netcard_list, tag_netcard, netcard_info, netcard_list, "\t\n");

using families =
    testing::Types<disks, smart_attributes, arrays, physical_volumes, volume_groups, pools,
                   file_systems, shares, connections, users, alarms, network_cards>;

/// The link of a record, or the anchor of a list.
template <class owner>
auto& link_of(owner& record) {
  if constexpr (requires { record.list; }) {
    return record.list;
  } else {
    return record.node;
  }
}

template <class record>
constexpr std::size_t link_offset = sizeof(record) - sizeof(list_node);

/// Where a family has its name.
template <class record>
char* name_of(record& named) {
  return reinterpret_cast<char*>(&named);
}
char* name_of(tag_user_info& user) { return user.name; }

/// Compares the bytes of two records up to a member.
template <class record>
bool same_up_to(std::size_t end, const record& one, const record& other) {
  return std::memcmp(&one, &other, end) == 0;
}

template <class anchor_owner>
bool is_empty(const anchor_owner& list) {
  const list_node& anchor = link_of(list);
  return anchor.next == &anchor && anchor.prev == &anchor;
}

// A record whose fields are clear, but for the documented texts and an empty list inside.

template <class record>
bool is_clear(const record& found) {
  static const record clear{};
  return same_up_to(link_offset<record>, found, clear);
}
bool is_clear(const tag_disk_info& found) {
  static const tag_disk_info clear{};
  return same_up_to(offsetof(tag_disk_info, smart_list), found, clear) &&
         is_clear<tag_disksmart_info>(found.smart_list) && is_empty(found.smart_list);
}
bool is_clear(const tag_vg_info& found) {
  static const tag_vg_info clear{};
  return same_up_to(offsetof(tag_vg_info, pvs), found, clear) && is_clear<tag_pv_info>(found.pvs) &&
         is_empty(found.pvs);
}
// The type of a user is not cleared.
bool is_clear(const tag_user_info& found) {
  static const tag_user_info clear{};
  return same_up_to(offsetof(tag_user_info, type), found, clear);
}

/// A record begins with its initial values: takes them out, so that the rest can be told clear.
template <class record>
bool takes_initial_values(record&) {
  return true;
}
bool takes_initial_values(tag_share_config& share) {
  const bool not_known = std::strcmp(share.status, "N.A.") == 0;
  std::memset(share.status, 0, std::strlen("N.A."));
  return not_known && std::exchange(share.writable, 0) == 1;
}
bool takes_initial_values(tag_netcard& card) { return std::exchange(card.state, 0) == 1; }
bool takes_initial_values(tag_md_info& md) {
  const bool inactive = std::strcmp(md.state, "inactive") == 0;
  std::memset(md.state, 0, std::strlen("inactive"));
  return inactive;
}
bool takes_initial_values(tag_disk_info& disk) {
  tag_smart_info summary{};
  for (char* const text : {summary.device_model, summary.serial_number, summary.firmware_version,
                           summary.user_capacity, summary.ata_version, summary.ata_standard,
                           summary.smart_support, summary.smart_enabled, summary.health}) {
    std::strcpy(text, "NaN");
  }
  const bool unknown = std::memcmp(&disk.smart, &summary, sizeof summary) == 0;
  disk.smart = {};
  return unknown;
}

template <class family>
class record_list : public sandbox_test {
 protected:
  using record_type = typename family::record;

  record_list() { family::list_init(&list_); }
  ~record_list() override { family::list_fini(&list_); }

  /// The alarms are printed in one line.
  static constexpr bool ends_lines = !std::is_same_v<family, alarms>;

  /// Appends a record as a program that uses the library does.
  record_type* append(char name) {
    auto* const made = static_cast<record_type*>(std::malloc(sizeof(record_type)));
    family::init(made);
    *name_of(*made) = name;
    list_node& link = link_of(*made);
    list_node& anchor = link_of(list_);
    link = {&anchor, anchor.prev};
    anchor.prev->next = &link;
    anchor.prev = &link;
    return made;
  }

  /// What a call prints.
  template <class call>
  std::string printed(call shows) {
    machine.forget();
    shows();
    return machine.output();
  }

  typename family::list list_;
};

TYPED_TEST_SUITE(record_list, families);

TYPED_TEST(record_list, is_linked_at_the_end_of_its_record) {
  EXPECT_EQ(sizeof(typename TypeParam::list), sizeof(typename TypeParam::record));
  typename TypeParam::record record;
  EXPECT_EQ(reinterpret_cast<char*>(&link_of(record) + 1), reinterpret_cast<char*>(&record + 1));
  EXPECT_EQ(offsetof(list_node, next), 0U);
  EXPECT_EQ(offsetof(list_node, prev), sizeof(void*));
}

TYPED_TEST(record_list, begins_clear_and_empty) {
  typename TypeParam::list list;
  std::memset(static_cast<void*>(&list), 0xaa, sizeof list);
  TypeParam::list_init(&list);
  EXPECT_TRUE(is_empty(list));
  typename TypeParam::record& record = list;
  EXPECT_TRUE(takes_initial_values(record));
  EXPECT_TRUE(is_clear(record));
}

TYPED_TEST(record_list, record_is_cleared_but_for_its_link) {
  typename TypeParam::record record;
  std::memset(static_cast<void*>(&record), 0xaa, sizeof record);
  list_node elsewhere{};
  link_of(record) = {&elsewhere, &elsewhere};
  TypeParam::init(&record);
  EXPECT_EQ(link_of(record).next, &elsewhere);
  EXPECT_EQ(link_of(record).prev, &elsewhere);
  EXPECT_TRUE(takes_initial_values(record));
  EXPECT_TRUE(is_clear(record));
}

TYPED_TEST(record_list, released_record_keeps_nothing_but_its_link) {
  typename TypeParam::record record;
  TypeParam::init(&record);
  *name_of(record) = 'x';
  list_node elsewhere{};
  link_of(record) = {&elsewhere, &elsewhere};
  TypeParam::fini(&record);
  EXPECT_EQ(link_of(record).next, &elsewhere);
  EXPECT_EQ(link_of(record).prev, &elsewhere);
  EXPECT_TRUE(is_clear(record));
}

TYPED_TEST(record_list, shows_every_record_in_list_order) {
  std::string expected;
  for (const char name : {'c', 'a', 'b'}) {
    auto* const record = this->append(name);
    const std::string line = this->printed([record] { TypeParam::show(record); });
    EXPECT_NE(line.find(name), std::string::npos);
    EXPECT_EQ(line.ends_with('\n'), this->ends_lines);
    EXPECT_GE(std::count(line.begin(), line.end(), '\t'), 3);
    expected += line;
  }
  EXPECT_EQ(this->printed([this] { TypeParam::list_show(&this->list_); }), expected);
}

TYPED_TEST(record_list, show_returns_the_count_of_its_last_piece) {
  auto* const record = this->append('a');
  int count = 0;
  const std::string line = this->printed([record, &count] { count = TypeParam::show(record); });
  const std::string_view last = TypeParam::last_piece.empty() ? line : TypeParam::last_piece;
  EXPECT_EQ(static_cast<std::size_t>(count), last.size());
  EXPECT_TRUE(line.ends_with(last));
}

TYPED_TEST(record_list, shows_nothing_when_empty_but_that_there_is_no_alarm) {
  const std::string expected = std::is_same_v<TypeParam, alarms> ? "There is no alarm!" : "";
  EXPECT_EQ(this->printed([this] { TypeParam::list_show(&this->list_); }), expected);
}

TYPED_TEST(record_list, is_empty_when_released_and_may_be_filled_and_released_again) {
  this->append('a');
  this->append('b');
  EXPECT_EQ(TypeParam::list_fini(&this->list_), 0);
  EXPECT_TRUE(is_empty(this->list_));
  EXPECT_EQ(TypeParam::list_fini(&this->list_), 0);
  EXPECT_TRUE(is_empty(this->list_));
  const auto* const record = this->append('c');
  EXPECT_EQ(link_of(this->list_).next, &link_of(*record));
  EXPECT_EQ(TypeParam::list_fini(&this->list_), 0);
  EXPECT_TRUE(is_empty(this->list_));
  EXPECT_EQ(this->machine.output(), "");
  EXPECT_EQ(this->machine.log(), "");
}

TYPED_TEST(record_list, complains_of_a_missing_list_on_standard_output) {
  TypeParam::list_init(nullptr);
  EXPECT_EQ(this->printed([] { EXPECT_EQ(TypeParam::list_fini(nullptr), -1); }),
            "Can't destory NULL list\n");
  EXPECT_EQ(this->printed([] { TypeParam::list_show(nullptr); }), "Can't show NULL list\n");
  EXPECT_EQ(this->machine.log(), "");
}

TYPED_TEST(record_list, operations_do_nothing_with_a_missing_record) {
  TypeParam::init(nullptr);
  // One that has a result logs, as show does.
  if constexpr (std::is_void_v<decltype(TypeParam::fini(nullptr))>) TypeParam::fini(nullptr);
  EXPECT_EQ(this->machine.log(), "");
  EXPECT_EQ(TypeParam::show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(this->machine.output(), "");
  EXPECT_THAT(this->machine.log(),
              testing::MatchesRegex("[a-z]+_(conf|info)_show:N return -1 with Invalid argument\n"));
}

class filled_list : public sandbox_test {
 protected:
  filled_list() { disk_list_init(&list_); }
  ~filled_list() override { disk_list_fini(&list_); }

  std::string names() const {
    std::string names;
    for (const list_node* node = list_.list.next; node != &list_.list; node = node->next) {
      const char* const record =
          reinterpret_cast<const char*>(node) - offsetof(tag_disk_info, list);
      names += reinterpret_cast<const tag_disk_info*>(record)->name + std::string(" ");
    }
    return names;
  }

  tag_diskinfo_list list_;
};

TEST_F(filled_list, has_the_order_of_its_source) {
  machine.file("/proc/partitions", fixture("proc/partitions.txt"));
  EXPECT_EQ(get_diskinfo_from_partitions(&list_), ORV_OK);
  EXPECT_EQ(names(), "sda sdb sdc sdd sde sdf sdg sdh sdi sdj ");
}

TEST_F(filled_list, grows_at_its_tail) {
  machine.file("/proc/partitions", "8 16 204800 sdb\n");
  EXPECT_EQ(get_diskinfo_from_partitions(&list_), ORV_OK);
  machine.file("/proc/partitions", "8 0 204800 sda\n");
  EXPECT_EQ(get_diskinfo_from_partitions(&list_), ORV_OK);
  EXPECT_EQ(names(), "sdb sda ");
}

TEST_F(filled_list, may_be_filled_again_once_it_is_released) {
  machine.file("/proc/partitions", fixture("proc/partitions_with_parts.txt"));
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(get_diskinfo_from_partitions(&list_), ORV_OK);
    EXPECT_EQ(names(), "sda sdb sdc sdd sde sdf sdg sdh sdi sdj ");
    EXPECT_EQ(disk_list_fini(&list_), 0);
  }
}

class embedded_list : public sandbox_test {
 protected:
  /// Appends a cleared record to the list that is inside another record.
  template <class record, class list>
  static void append(list& owner, void (*init)(record*)) {
    auto* const made = static_cast<record*>(std::malloc(sizeof(record)));
    init(made);
    made->list = {&owner.list, owner.list.prev};
    owner.list.prev->next = &made->list;
    owner.list.prev = &made->list;
  }
};

TEST_F(embedded_list, of_attributes_is_released_with_its_disk) {
  tag_disk_info disk;
  disk_conf_init(&disk);
  append(disk.smart_list, smart_conf_init);
  append(disk.smart_list, smart_conf_init);
  disk_conf_fini(&disk);
  EXPECT_TRUE(is_empty(disk.smart_list));
}

TEST_F(embedded_list, of_physical_volumes_is_released_with_its_group) {
  tag_vg_info group;
  vg_conf_init(&group);
  append(group.pvs, pv_conf_init);
  append(group.pvs, pv_conf_init);
  vg_conf_fini(&group);
  EXPECT_TRUE(is_empty(group.pvs));
}

TEST_F(embedded_list, is_released_with_the_list_of_its_owners) {
  tag_vginfo_list groups;
  vg_list_init(&groups);
  append(groups, vg_conf_init);
  char* const first = reinterpret_cast<char*>(groups.list.next) - offsetof(tag_vg_info, list);
  append(reinterpret_cast<tag_vg_info*>(first)->pvs, pv_conf_init);
  EXPECT_EQ(vg_list_fini(&groups), 0);
  EXPECT_TRUE(is_empty(groups));
}

}  // namespace
