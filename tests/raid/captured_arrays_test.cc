#include <algorithm>
#include <cstring>

#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

/// Arrays as mdadm 4.2 and Linux 6.1 tell of them, in the disks of the bays 1 to 6.
class captured_arrays : public machine_with_disks {
 protected:
  void put(const std::string& name, const std::string& situation) {
    machine.file("/proc/mdstat", fixture("mdstat/" + situation + ".txt"));
    machine.file("/told/detail/" + name, fixture("mdadm_detail/" + situation + ".txt"));
    put_sysfs("/sys/block/" + name + "/md/", fixture("sysfs_md/" + situation + ".txt"));
  }

  /// Level, state, GiB, members and progress of an array; the directory of its members has no order
  /// of its own.
  static std::string shown(const tag_md_info& md) {
    sandbox::lines members;
    std::istringstream items(md.disks);
    for (std::string item; std::getline(items, item, ',');) members.push_back(item);
    std::sort(members.begin(), members.end());
    std::string line = std::string(md.level) + "; " + md.state + "; " + std::to_string(md.size);
    for (const std::string& one : members) line += (&one == &members.front() ? "; " : ",") + one;
    return md.progress[0] == '\0' ? line : line + "; " + md.progress;
  }

  /// The only array in this situation, and what is logged meanwhile.
  std::string read(const std::string& name, const std::string& situation,
                   const std::string& log = "") {
    put(name, situation);
    machine.forget();
    md_list list;
    EXPECT_EQ(raid_get(list.get()), ORV_OK);
    EXPECT_THAT(list.names(), ElementsAre(name));
    EXPECT_EQ(machine.log(), log);
    EXPECT_EQ(machine.output(), "");
    return shown(list.only());
  }

 private:
  /// A fixture has the names in the directory, and then lines "file: content".
  void put_sysfs(const std::string& directory, const std::string& text) {
    machine.remove(directory);
    std::istringstream all(text);
    for (std::string line; std::getline(all, line);) {
      const std::size_t colon = line.find(": ");
      if (colon != std::string::npos) {
        machine.file(directory + line.substr(0, colon), line.substr(colon + 2) + "\n");
      } else if (line.starts_with("dev-")) {
        machine.directory(directory + line);
      } else {
        machine.file(directory + line, "");
      }
    }
  }
};

TEST_F(captured_arrays, that_are_clean) {
  EXPECT_EQ(read("md0", "raid5_clean"), "raid5; clean; 1; sda,sdb,sdc,sdd");
  EXPECT_EQ(read("md0", "raid5_clean_spare"), "raid5; clean; 1; sda,sdc,sdd,sde,sdf(S)");
  EXPECT_EQ(read("md1", "raid1_clean"), "raid1; clean; 0; sda,sdb");
  EXPECT_EQ(read("md1", "raid1_checking"), "raid1; clean, checking; 0; sda,sdb");
  EXPECT_EQ(read("md2", "raid6_clean"), "raid6; clean; 0; sda,sdb,sdc,sdd");
  EXPECT_EQ(read("md3", "raid0_clean"), "raid0; clean; 0; sda,sdb");
}

TEST_F(captured_arrays, that_stand_beside_another_one) {
  put("md3", "raid0_clean");
  put("md4", "linear_clean");
  md_list list;
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md4", "md3"));
  EXPECT_EQ(shown(*list.records()[0]), "linear; clean; 0; sdc,sdd");
  EXPECT_EQ(shown(*list.records()[1]), "raid0; clean; 0; sda,sdb");
  EXPECT_STREQ(list.records()[0]->enclosure, "1");
}

TEST_F(captured_arrays, that_are_rebuilt) {
  EXPECT_EQ(read("md0", "raid5_first_rebuild"),
            "raid5; clean, degraded, recovering; 1; sda,sdb,sdc,sdd(S); 3.0%(3.00MB/s)");
  EXPECT_EQ(read("md0", "raid5_recovering"),
            "raid5; clean, degraded, recovering; 1; sda,sdc,sdd,sde(S); 3.5%(3.00MB/s)");
  EXPECT_EQ(read("md1", "raid1_resyncing"), "raid1; clean, resyncing; 0; sda,sdb; 3.5%(3.00MB/s)");
  EXPECT_EQ(read("md2", "raid6_resyncing"),
            "raid6; clean, resyncing; 0; sda,sdb,sdc,sdd; 2.5%(2.00MB/s)");
}

TEST_F(captured_arrays, whose_rebuild_waits) {
  EXPECT_EQ(read("md1", "raid1_resync_pending"), "raid1; clean, resyncing (PENDING); 0; sda,sdb");
  // Of the array that is rebuilt meanwhile only the status was captured.
  put("md6", "raid1_resync_delayed");
  md_list list;
  tag_md_info& waiting = list.add("md6");
  tag_md_info& rebuilt = list.add("md5");
  EXPECT_EQ(get_mdinfo_from_mdadm(list.get()), ORV_OK);
  std::strcpy(rebuilt.state, "clean, resyncing");
  EXPECT_EQ(get_mdinfo_from_mdstat(list.get()), ORV_OK);
  EXPECT_STREQ(waiting.state, "clean, resyncing (DELAYED)");
  EXPECT_STREQ(waiting.progress, "");
  EXPECT_STREQ(rebuilt.progress, "0.6%(3.00MB/s)");
}

TEST_F(captured_arrays, that_bear_the_loss_of_members) {
  EXPECT_EQ(read("md0", "raid5_degraded_failed"), "raid5; clean, degraded; 1; sda,sdb(F),sdc,sdd");
  EXPECT_EQ(read("md0", "raid5_degraded_removed"), "raid5; clean, degraded; 1; *(M),sda,sdc,sdd");
  EXPECT_EQ(read("md1", "raid1_degraded_failed"), "raid1; clean, degraded; 0; sda,sdb(F)");
  EXPECT_EQ(read("md1", "raid1_read_only"), "raid1; clean, degraded; 0; sda,sdb(F)");
  EXPECT_EQ(read("md2", "raid6_degraded_two_failed"),
            "raid6; clean, degraded; 0; sda(F),sdb(F),sdc,sdd");
}

TEST_F(captured_arrays, that_lost_too_much) {
  EXPECT_EQ(read("md0", "raid5_failed"), "raid5; inactive; 1; sda(F),sdc(F),sdd,sde");
  const std::string no_size = "get_mdinfo_type:N return -1031 with ";
  put("md0", "raid5_inactive");
  md_list list;
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  EXPECT_EQ(shown(list.only()), "raid5; inactive; 0; sdd(S)");
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(testing::StartsWith(no_size), testing::StartsWith(no_size)));
}

TEST_F(captured_arrays, whose_disk_was_pulled) {
  put("md7", "raid0_member_pulled");
  put("md8", "raid1_member_pulled");
  md_list list;
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md8", "md7"));
  EXPECT_EQ(shown(*list.records()[0]), "raid1; clean, degraded; 0; sdc,sdd(F)");
  EXPECT_EQ(shown(*list.records()[1]), "raid0; broken, FAILED; 0; sda,sdb");
}

TEST_F(captured_arrays, of_a_machine_without_any) {
  machine.file("/proc/mdstat", fixture("mdstat/no_arrays.txt"));
  md_list list;
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), IsEmpty());
}

TEST_F(captured_arrays, that_mdadm_cannot_describe) {
  for (const std::string error : {"missing_device", "not_an_array"}) {
    machine.tool("/sbin/mdadm")
        .on("--detail /dev/md9")
        .complains(fixture("mdadm_detail/" + error + ".txt"))
        .fails(1);
    md_list list;
    const tag_md_info& md = list.add("md9");
    EXPECT_EQ(get_mdinfo_from_mdadm(list.get()), ORV_OK);
    EXPECT_EQ(shown(md), "; inactive; 0");
  }
}

TEST_F(captured_arrays, that_the_kernel_lists_as_block_devices) {
  machine.file("/proc/partitions", fixture("proc/partitions.txt"));
  md_list list;
  EXPECT_EQ(get_mdinfo_from_partitions(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md0"));
  machine.file("/proc/partitions", fixture("proc/partitions_with_parts.txt"));
  EXPECT_EQ(get_mdinfo_from_partitions(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md0", "md5", "md6"));
}

TEST_F(captured_arrays, whose_failed_member_is_removed) {
  machine.tool("/sbin/mdadm").on("--manage ...");
  put("md0", "raid5_degraded_failed");
  EXPECT_EQ(raid_rm("md0", "2"), ORV_OK);
  put("md0", "raid5_failed");
  EXPECT_EQ(raid_check_rm("md0", "3"), ORV_OK);
  put("md7", "raid0_member_pulled");
  put("md8", "raid1_member_pulled");
  EXPECT_EQ(raid_rm("md8", "4"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm --manage /dev/md0 -r /dev/sdb > /dev/null",
                                     "/sbin/mdadm --manage /dev/md0 -r /dev/sdc > /dev/null",
                                     "/sbin/mdadm --manage /dev/md8 -r /dev/sdd > /dev/null"));
}

TEST_F(captured_arrays, whose_disks_are_in_use_while_they_are_rebuilt) {
  put("md0", "raid5_recovering");
  EXPECT_EQ(raid_add("md0", "5"), ORV_E_DISK_USED);
  EXPECT_EQ(raid_rm("md0", "5"), ORV_E_NOT_FAULTY);
  EXPECT_THAT(changes(), IsEmpty());
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 --add /dev/sdb");
  EXPECT_EQ(raid_add("md0", "2"), ORV_OK);
}

TEST_F(captured_arrays, whose_disks_are_in_use_though_they_do_not_run) {
  put("md0", "raid5_inactive");
  tag_md_info request;
  md_conf_init(&request);
  std::strcpy(request.level, "raid1");
  std::strcpy(request.disks, "3,4");
  std::strcpy(request.enclosure, "1");
  EXPECT_EQ(raid_create(&request), ORV_E_DISK_USED);
  EXPECT_THAT(changes(), IsEmpty());
}
