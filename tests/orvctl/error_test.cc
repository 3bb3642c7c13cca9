#include <map>
#include <set>

#include "tests/orvctl/appliance.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/table.h"

using orvctl::exit_status;
using orvctl::json;

using errors = appliance;
using errors_of_a_controller = appliance_with_controller;

TEST_F(errors, give_name_code_meaning_and_advice) {
  const outcome got = orvctl("raid create --level raid1 --disks 1,2 --enclosure 1 --yes");
  EXPECT_EQ(got.status, 4);
  EXPECT_EQ(got.out, "");
  EXPECT_EQ(got.err,
            "orvctl: raid create: ORV_E_DISK_USED (-2030): a disk is already used by an array, a "
            "volume group or as hot spare\n"
            "  What to do: run 'orvctl raid list', 'orvctl vg list' and 'orvctl spare list' to see "
            "what uses the disk\n");
}

TEST_F(errors, are_json_on_standard_output_when_asked_for) {
  const outcome got = orvctl("raid destroy md9 --yes --json");
  EXPECT_EQ(got.status, 3);
  EXPECT_EQ(got.err, "");
  EXPECT_EQ(json::parse(got.out), json::parse(R"({"format_version": 2, "error": {
      "command": "raid destroy", "code": -2038, "name": "ORV_E_NO_RAID",
      "meaning": "there is no array of this name", "detail": null,
      "advice": "run 'orvctl raid list' to see the arrays", "exit_status": 3}})"));
}

TEST_F(errors, name_what_they_are_about) {
  const outcome got = orvctl("disk clear 1,9 --enclosure 1 --yes");
  EXPECT_EQ(got.status, 3);
  EXPECT_EQ(got.err,
            "orvctl: disk clear: ORV_E_NO_DISK (-2033): a channel has no disk in this enclosure or "
            "array: channels 1,9 of enclosure 1\n"
            "  What to do: run 'orvctl disk list' to see channels and enclosures\n");
}

TEST_F(errors, replace_bytes_that_json_cannot_hold) {
  const outcome got = run({"raid", "fail", "md\xff", "1", "--yes", "--json"}, "", false);
  EXPECT_EQ(json::parse(got.out)["error"]["detail"], "md\xef\xbf\xbd");
}

TEST_F(errors_of_a_controller, say_that_its_disks_have_no_device_to_act_on) {
  for (const char* words : {"raid fail md0 2 --yes", "raid fail-all md0 --yes",
                            "raid recreate md0 --level raid0 --disks 1,2 --yes"}) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 3) << words;
    EXPECT_THAT(got.err, testing::HasSubstr("ORV_E_NO_DISK (-2033)")) << words;
    EXPECT_EQ(got.out, "");
  }
  EXPECT_THAT(changes(), testing::IsEmpty());
}

TEST(result_codes, all_have_advice) {
  std::set<int> seen;
  for (const auto& row : orvctl::all_codes()) {
    EXPECT_TRUE(seen.insert(row.code).second) << row.name;
    EXPECT_STRNE(row.advice, "") << row.name;
    EXPECT_EQ(row.status == exit_status::ok, row.code == ORV_OK) << row.name;
  }
}

TEST(result_codes, decide_the_exit_status) {
  const std::map<int, exit_status> expected = {
      {ORV_E_FAILED, exit_status::failed},      {ORV_E_COMMAND, exit_status::failed},
      {ORV_E_DISK_DRIVER, exit_status::failed}, {ORV_E_POOL_SIZE, exit_status::failed},
      {ORV_E_NO_RAID, exit_status::not_found},  {ORV_E_NO_VG, exit_status::not_found},
      {ORV_E_NO_POOL, exit_status::not_found},  {ORV_E_NO_DISK, exit_status::not_found},
      {ORV_E_DISK_USED, exit_status::in_use},   {ORV_E_RAID_IN_VG, exit_status::in_use},
      {ORV_E_VG_IN_USE, exit_status::in_use},   {ORV_E_POOL_NAME_USED, exit_status::in_use},
      {ORV_E_RAID_LEVEL, exit_status::usage},   {ORV_E_RAID_COUNT, exit_status::usage},
  };
  for (const auto& [code, status] : expected) {
    EXPECT_EQ(orvctl::library_problem(code).status, status) << code;
  }
}

TEST(result_codes, that_nobody_knows_are_failures) {
  const orvctl::problem found = orvctl::library_problem(-4711);
  EXPECT_EQ(found.status, exit_status::failed);
  EXPECT_EQ(found.code, -4711);
  EXPECT_EQ(found.meaning, "unknown result code");
}
