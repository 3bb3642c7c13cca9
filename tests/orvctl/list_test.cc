#include "tests/orvctl/appliance.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::IsEmpty;

class list_verbs : public appliance {
 protected:
  static std::string shown(const std::string& words) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 0) << words;
    EXPECT_EQ(got.err, "") << words;
    return got.out;
  }

  /// The only member of the JSON document besides its version.
  static json listed(const std::string& words, const std::string& key) {
    json document = json::parse(shown(words + " --json"));
    EXPECT_EQ(document.size(), 2u) << words;
    EXPECT_EQ(document["format_version"], 2) << words;
    return document[key];
  }
};

TEST_F(list_verbs, show_disks) {
  EXPECT_EQ(shown("disk list"),
            "ENCLOSURE CHANNEL DEVICE    SIZE STATE   MODEL        USAGE SPARE\n"
            "        1       1 sda    932 GiB running ST31000340NS -     no\n"
            "        1       2 sdb    932 GiB running ST31000340NS -     no\n"
            "        1       3 sdc    932 GiB running ST31000340NS -     no\n"
            "        1       4 sdd    932 GiB running ST31000340NS -     yes\n");
}

TEST_F(list_verbs, give_disks_as_json) {
  const json disks = listed("disk list", "disks");
  ASSERT_EQ(disks.size(), 4u);
  EXPECT_EQ(disks[1], json::parse(R"({"enclosure": "1", "channel": 2, "device": "sdb",
      "size_bytes": 1000727379968, "state": "running", "model": "ST31000340NS", "usage": null,
      "hot_spare": false})"));
}

TEST_F(list_verbs, show_hot_spares) {
  EXPECT_EQ(shown("spare list"),
            "ENCLOSURE CHANNEL DEVICE    SIZE STATE   MODEL        USAGE SPARE\n"
            "        1       4 sdd    932 GiB running ST31000340NS -     yes\n");
}

// The whole text, once: the layout is part of what scripts and people see.
TEST_F(list_verbs, write_indented_json_and_nothing_else) {
  EXPECT_EQ(shown("spare list --json"),
            "{\n"
            "  \"format_version\": 2,\n"
            "  \"spares\": [\n"
            "    {\n"
            "      \"enclosure\": \"1\",\n"
            "      \"channel\": 4,\n"
            "      \"device\": \"sdd\",\n"
            "      \"size_bytes\": 1000727379968,\n"
            "      \"state\": \"running\",\n"
            "      \"model\": \"ST31000340NS\",\n"
            "      \"usage\": null,\n"
            "      \"hot_spare\": true\n"
            "    }\n"
            "  ]\n"
            "}\n");
}

TEST_F(list_verbs, show_arrays) {
  std::string rebuilt = members("md1");
  rebuilt.insert(rebuilt.find("sde") + 3, "(S)");
  EXPECT_EQ(shown("raid list"),
            "NAME LEVEL STATE                       PROGRESS             SIZE ENCLOSURE MEMBERS\n"
            "md0  raid5 clean                       -                1863 GiB         1 " +
                members("md0") +
                "\n"
                "md1  raid1 clean, degraded, recovering 12.6%(48.00MB/s)  931 GiB         - " +
                rebuilt + "\n");
}

TEST_F(list_verbs, give_arrays_with_their_members_as_json) {
  json arrays = listed("raid list", "arrays");
  ASSERT_EQ(arrays.size(), 2u);
  EXPECT_EQ(arrays[0]["members"].size(), 3u);
  const std::string first = arrays[0]["members"][0]["name"];
  EXPECT_EQ(first, members("md0").substr(0, 3));

  json rebuilt = arrays[1]["members"];
  if (rebuilt[0]["name"] != "sde") std::swap(rebuilt[0], rebuilt[1]);
  EXPECT_EQ(rebuilt, json::parse(R"([{"name": "sde", "state": "spare"},
                                     {"name": "sdf", "state": "active"}])"));
  arrays[1].erase("members");
  EXPECT_EQ(arrays[1], json::parse(R"json({"name": "md1", "level": "raid1",
      "state": "clean, degraded, recovering", "progress": "12.6%(48.00MB/s)",
      "rebuilt_percent": 12.6, "rebuild_bytes_per_second": 50331648, "size_bytes": 999653638144,
      "enclosure": null, "spares": []})json"));
}

TEST_F(list_verbs, tell_failed_and_missing_members) {
  machine.file("/sys/block/md0/md/dev-sda/state", "faulty\n");
  machine.remove("/sys/block/md0/md/dev-sdb");
  machine.remove("/sys/block/md0/md/dev-sdc");
  EXPECT_EQ(listed("raid list", "arrays")[0]["members"],
            json::parse(R"([{"name": "sda", "state": "failed"}, {"name": null, "state": "missing"},
                            {"name": null, "state": "missing"}])"));
}

TEST_F(list_verbs, show_volume_groups) {
  EXPECT_EQ(shown("vg list"),
            "NAME ATTRIBUTES ENCLOSURE     SIZE    USED     FREE VOLUMES\n"
            "vg1  resizable          1 1862 GiB 500 GiB 1362 GiB md0\n");
}

TEST_F(list_verbs, give_volume_groups_with_their_volumes_as_json) {
  EXPECT_EQ(listed("vg list", "volume_groups"), json::parse(R"([{"name": "vg1",
      "attributes": "resizable", "enclosure": "1", "size_bytes": 1999307276288, "used_bytes": 536870912000,
      "free_bytes": 1462436364288, "physical_volumes": [{"name": "md0", "attributes": "Allocatable:yes",
      "enclosure": "1", "size_bytes": 2000381018112, "used_bytes": 536870912000}]}])"));
}

TEST_F(list_verbs, show_pools) {
  EXPECT_EQ(shown("pool list"),
            "GROUP POOL    SIZE STATE     ENCLOSURE DEVICE\n"
            "vg1   data 500 GiB available         1 /dev/vg1/data\n");
}

TEST_F(list_verbs, give_pools_as_json) {
  EXPECT_EQ(listed("pool list", "pools"), json::parse(R"([{"volume_group": "vg1", "name": "data",
      "size_bytes": 536870912000, "state": "available", "enclosure": "1", "device": "/dev/vg1/data"}])"));
}

TEST_F(list_verbs, show_file_systems) {
  EXPECT_EQ(shown("fs list"),
            "MOUNT POINT STATE     TYPE      SIZE     USED USE GROUP ENCLOSURE DEVICE\n"
            "/mnt/data   available xfs  10240 MiB 6144 MiB 60% vg1           1 /dev/vg1/data\n");
}

TEST_F(list_verbs, give_file_systems_as_json) {
  EXPECT_EQ(listed("fs list", "file_systems"), json::parse(R"([{"mount_point": "/mnt/data",
      "state": "available", "type": "xfs", "size_bytes": 10737418240, "used_bytes": 6442450944,
      "volume_group": "vg1", "enclosure": "1", "device": "/dev/vg1/data"}])"));
}

TEST_F(list_verbs, show_the_mount_table) {
  EXPECT_EQ(shown("fs table"),
            "DEVICE        MOUNT POINT TYPE GROUP\n"
            "/dev/vg1/data /mnt/data   xfs  vg1\n");
}

TEST_F(list_verbs, give_the_mount_table_as_json) {
  EXPECT_EQ(listed("fs table", "mount_table_entries"), json::parse(R"([{"device": "/dev/vg1/data",
      "mount_point": "/mnt/data", "type": "xfs", "volume_group": "vg1"}])"));
}

TEST_F(list_verbs, say_that_there_is_nothing) {
  machine.file("/etc/mdfstab", "");
  const outcome text = orvctl("fs table");
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out, "");
  EXPECT_EQ(text.err, "There are no mount table entries.\n");
  EXPECT_EQ(listed("fs table", "mount_table_entries"), json::array());
}

TEST_F(list_verbs, take_json_before_the_noun_too) {
  EXPECT_EQ(shown("--json pool list"), shown("pool list --json"));
}

TEST_F(list_verbs, show_what_was_found_before_a_failure) {
  fail_to_tell("pools");
  const outcome text = orvctl("pool list");
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.out, testing::HasSubstr("\nvg1   data 500 GiB"));
  EXPECT_THAT(text.err, testing::StartsWith("orvctl: pool list: ORV_E_LVDISPLAY_TOOL (-1051): "));

  const outcome as_json = orvctl("pool list --json");
  EXPECT_EQ(as_json.status, 1);
  EXPECT_EQ(as_json.err, "");
  const json document = json::parse(as_json.out);
  EXPECT_EQ(document["pools"].size(), 1u);
  EXPECT_EQ(document["error"]["name"], "ORV_E_LVDISPLAY_TOOL");
}

TEST_F(list_verbs, leave_nothing_behind) {
  for (const char* words : {"disk list", "raid list", "vg list", "pool list", "fs list"}) {
    shown(words);
  }
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(machine.output(), "");
}

using list_verbs_of_a_controller = appliance_with_controller;

TEST_F(list_verbs_of_a_controller, have_no_device_names_and_may_not_know_a_size) {
  EXPECT_EQ(orvctl("disk list").out,
            "ENCLOSURE CHANNEL DEVICE    SIZE STATE  MODEL        USAGE SPARE\n"
            "        0       1 -      931 GiB normal ST31000340NS Raid  no\n"
            "        0       2 -            - -      ST31000340NS -     no\n");
}

TEST_F(list_verbs_of_a_controller, give_the_channels_of_the_members) {
  const json document = json::parse(orvctl("raid list --json").out);
  EXPECT_EQ(document["arrays"][0]["members"],
            json::parse(R"([{"name": "1", "state": "active"}, {"name": "2", "state": "active"}])"));
}
