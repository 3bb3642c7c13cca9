#include <orv/scoped.h>
#include <orv/support.h>

#include <algorithm>
#include <iterator>
#include <ranges>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "tests/sandbox/sandbox.h"

using sandbox::machine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// --- Results -------------------------------------------------------------------------------------

TEST(result, is_true_for_success_and_for_answers_and_counts) {
  EXPECT_TRUE(orv::result(ORV_OK));
  EXPECT_TRUE(orv::result(1));
  EXPECT_FALSE(orv::result(ORV_E_FAILED));
  EXPECT_FALSE(orv::result(-3));
}

TEST(result, has_number_name_and_meaning) {
  const orv::result result = ORV_E_NO_RAID;
  EXPECT_EQ(result.code(), -2038);
  EXPECT_STREQ(result.name(), "ORV_E_NO_RAID");
  EXPECT_STREQ(result.meaning(), "there is no array of this name");
  EXPECT_EQ(result.text(), "ORV_E_NO_RAID (-2038): there is no array of this name");
}

TEST(result, has_the_name_that_the_headers_give_each_code) {
#define HAS_ITS_NAME(name, value, meaning) EXPECT_STREQ(orv::name_of(value), #name);
  ORV_RESULT_CODES(HAS_ITS_NAME)
#undef HAS_ITS_NAME
  EXPECT_STREQ(orv::name_of(-3), "unknown");
  EXPECT_EQ(orv::result(-3).text(), "unknown (-3): unknown result code");
}

TEST(result, compares_with_the_names_of_codes) {
  EXPECT_TRUE(orv::result(-2038) == ORV_E_NO_RAID);
  EXPECT_TRUE(orv::result(-2038) != ORV_E_NO_DISK);
}

TEST(result, becomes_an_error_code) {
  const std::error_code failure = orv::result(ORV_E_DISK_USED);
  EXPECT_EQ(failure.value(), ORV_E_DISK_USED);
  EXPECT_EQ(std::string_view(failure.category().name()), "orv");
  EXPECT_EQ(failure.message(), orv_strerror(ORV_E_DISK_USED));
  EXPECT_EQ(failure, ORV_E_DISK_USED);
  EXPECT_NE(failure, ORV_E_NO_DISK);
}

TEST(result, of_a_success_becomes_an_error_code_that_is_no_error) {
  EXPECT_FALSE(std::error_code(orv::result(ORV_OK)));
  EXPECT_FALSE(std::error_code(orv::result(7)));
  EXPECT_FALSE(std::error_code(ORV_OK));
}

TEST(check, passes_success_on) {
  EXPECT_EQ(orv::check(ORV_OK), ORV_OK);
  EXPECT_EQ(orv::check(4, "count_disks"), 4);
}

TEST(check, throws_what_failed_and_why) {
  try {
    orv::check(ORV_E_NO_VG, "vg_destroy vg1");
    FAIL() << "nothing was thrown";
  } catch (const orv::error& failure) {
    EXPECT_EQ(failure.code(), ORV_E_NO_VG);
    EXPECT_STREQ(failure.name(), "ORV_E_NO_VG");
    EXPECT_STREQ(failure.meaning(), orv_strerror(ORV_E_NO_VG));
    EXPECT_EQ(failure.what(), "vg_destroy vg1: " + orv::result(ORV_E_NO_VG).text());
  }
}

TEST(check, throws_what_a_handler_of_system_errors_catches) {
  EXPECT_THROW(orv::check(ORV_E_COMMAND), std::system_error);
  EXPECT_EQ(std::string(orv::error(ORV_E_COMMAND).what()), orv::result(ORV_E_COMMAND).text());
}

// --- Lists ---------------------------------------------------------------------------------------

template <class List>
class every_family : public testing::Test {};

using families = testing::Types<orv::disk_list, orv::smart_attribute_list, orv::array_list,
                                orv::physical_volume_list, orv::volume_group_list, orv::pool_list,
                                orv::file_system_list, orv::share_list, orv::connection_list,
                                orv::user_list, orv::alarm_list, orv::network_interface_list>;
TYPED_TEST_SUITE(every_family, families);

// What a list is walked to, there and back.
template <class List>
auto forwards(List& list) {
  std::vector<const typename List::record*> seen;
  for (const auto& record : list) seen.push_back(&record);
  return seen;
}

template <class List>
auto backwards(List& list) {
  std::vector<const typename List::record*> seen;
  for (auto at = list.end(); at != list.begin();) seen.push_back(&*--at);
  return seen;
}

TYPED_TEST(every_family, begins_empty) {
  TypeParam list;
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.size(), 0U);
  EXPECT_THAT(forwards(list), IsEmpty());
}

TYPED_TEST(every_family, is_walked_in_order_there_and_back) {
  TypeParam list;
  const auto* const first = &list.append();
  const auto* const second = &list.append();
  EXPECT_EQ(list.size(), 2U);
  EXPECT_THAT(forwards(list), ElementsAre(first, second));
  EXPECT_THAT(backwards(list), ElementsAre(second, first));
  EXPECT_THAT(forwards(std::as_const(list)), ElementsAre(first, second));
}

TYPED_TEST(every_family, gives_its_records_to_the_list_it_is_moved_to) {
  TypeParam source;
  const auto* const first = &source.append();
  const auto* const second = &source.append();
  TypeParam target = std::move(source);
  EXPECT_THAT(forwards(target), ElementsAre(first, second));
  EXPECT_THAT(backwards(target), ElementsAre(second, first));
  EXPECT_TRUE(source.empty());  // NOLINT(bugprone-use-after-move): it is a usable empty list
  const auto* const third = &source.append();
  EXPECT_THAT(forwards(source), ElementsAre(third));

  target = std::move(source);
  EXPECT_THAT(forwards(target), ElementsAre(third));
  target = TypeParam();
  EXPECT_TRUE(target.empty());
}

TYPED_TEST(every_family, loses_the_record_that_is_erased) {
  TypeParam list;
  const auto* const first = &list.append();
  list.append();
  const auto* const third = &list.append();
  const auto behind = list.erase(std::next(list.begin()));
  EXPECT_EQ(&*behind, third);
  EXPECT_THAT(forwards(list), ElementsAre(first, third));
  EXPECT_THAT(backwards(list), ElementsAre(third, first));
  list.clear();
  EXPECT_TRUE(list.empty());
}

static_assert(std::bidirectional_iterator<orv::array_list::iterator>);
static_assert(std::bidirectional_iterator<orv::array_list::const_iterator>);
static_assert(std::ranges::bidirectional_range<orv::array_list>);
static_assert(std::ranges::bidirectional_range<const orv::array_list>);
static_assert(!std::is_copy_constructible_v<orv::array_list>);
static_assert(std::is_nothrow_move_constructible_v<orv::array_list>);

TEST(scoped_list, appends_records_as_their_family_begins_them) {
  orv::share_list shares;
  EXPECT_STREQ(shares.append().status, "N.A.");
  orv::array_list arrays;
  EXPECT_STREQ(arrays.append().state, "inactive");
  orv::user_list users;
  EXPECT_STREQ(users.append().type, "");
}

TEST(scoped_list, releases_what_its_records_own) {
  orv::volume_group_list groups;
  orv::physical_volume_list volumes;
  liborv_strncpy(volumes.append().pvname, 32, "md0");
  tag_vg_info& group = groups.append();
  // The volume's link joins the group's list; the sanitizer finds a record that nobody releases.
  group.pvs.list = {volumes.get()->list.next, volumes.get()->list.next};
  *group.pvs.list.next = {&group.pvs.list, &group.pvs.list};
  volumes->list = {&volumes->list, &volumes->list};
  for (const tag_pv_info& volume : orv::records(group.pvs)) EXPECT_STREQ(volume.pvname, "md0");
  EXPECT_EQ(orv::records(group.pvs).size(), 1U);
}

TEST(scoped_list, can_be_used_with_algorithms) {
  orv::array_list arrays;
  for (const char* name : {"md0", "md1", "md2"}) {
    liborv_strncpy(arrays.append().name, sizeof(tag_md_info::name), name);
  }
  const auto is_md1 = [](const tag_md_info& array) { return std::string(array.name) == "md1"; };
  EXPECT_EQ(std::ranges::count_if(arrays, is_md1), 1);
  EXPECT_EQ(std::ranges::find_if(std::as_const(arrays), is_md1)->name, std::string("md1"));
}

TEST(scoped_list, reads_what_a_getter_gives) {
  machine here;
  here.file("/etc/mdfstab",
            "/dev/vg1/data /mnt/data xfs defaults 0 0\n/dev/vg1/home /mnt/home xfs defaults 0 0\n");
  orv::file_system_list entries;
  EXPECT_TRUE(entries.read(mdfstab_get));
  EXPECT_EQ(entries.size(), 2U);
  EXPECT_STREQ(entries.begin()->mountpoint, "/mnt/data");

  here.file("/etc/mdfstab", "/dev/vg1/data /mnt/data xfs defaults 0 0\n");
  EXPECT_TRUE(entries.read(mdfstab_get));
  EXPECT_EQ(entries.size(), 1U);

  here.remove("/etc/mdfstab");
  EXPECT_EQ(entries.read(mdfstab_get), ORV_E_FAILED);
  EXPECT_TRUE(entries.empty());
  here.log();
}

TEST(scoped_list, hands_its_own_fields_to_getters) {
  orv::disk_list disks;
  liborv_strncpy(disks->smart.smart_enabled, 16, "detail");
  disks.append();
  disks.clear();
  EXPECT_STREQ(disks.get()->smart.smart_enabled, "detail");
}

// --- Limits of time ------------------------------------------------------------------------------

TEST(tool_timeout, holds_until_its_scope_ends) {
  {
    const orv::tool_timeout limit(30);
    EXPECT_EQ(orv_tool_timeout(), 30U);
    {
      const orv::tool_timeout none(0);
      EXPECT_EQ(orv_tool_timeout(), 0U);
    }
    EXPECT_EQ(orv_tool_timeout(), 30U);
  }
  EXPECT_EQ(orv_tool_timeout(), 0U);
}

}  // namespace
