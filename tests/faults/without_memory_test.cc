/// Getters without memory for the records that they make, and changes of shares: every allocation
/// fails once.
#include <orv.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>

#include "allocations.h"
#include "tests/sandbox/sandbox.h"
#include "tests/share/share_machine.h"

using testing::IsEmpty;

namespace {

class without_memory : public sandbox_test {
 protected:
  without_memory() {
    machine.tool("cat").is_real();
    machine.tool("/usr/local/sbin/smartctl").prints(fixture("smartctl/attributes.txt")).if_asked();
  }

  /// A getter, and what it has put into its list, one line for each record.
  struct attempt {
    int result;
    sandbox::lines found;
  };
  using getter = std::function<attempt()>;

  /// The getter reports each failure by one of its codes, and keeps what it had found; where the
  /// failure did no harm it has found all.
  void expect_codes(const getter& get, const std::vector<int>& codes) {
    const attempt good = get();
    const std::size_t calls = machine.calls().size();
    EXPECT_EQ(good.result, ORV_OK);
    EXPECT_THAT(good.found, testing::Not(IsEmpty()));
    bool has_failed = false;
    for (long at = 0; at < 1000; ++at) {
      failing_ = {.at = at};
      machine.forget();
      const attempt got = get();
      EXPECT_THAT(machine.temp_files(), IsEmpty()) << at;
      if (got.result == ORV_OK) {
        // smartctl's status is no failure, not even that of a shell that could not run it.
        if (machine.calls().size() == calls) {
          EXPECT_EQ(got.found, good.found) << at;
        }
      } else {
        has_failed = true;
        EXPECT_THAT(codes, testing::Contains(got.result)) << at;
        ASSERT_LE(got.found.size(), good.found.size()) << at;
        const auto last = good.found.begin() + static_cast<std::ptrdiff_t>(got.found.size());
        EXPECT_EQ(got.found, sandbox::lines(good.found.begin(), last)) << at;
      }
      if (allocations_ <= at) break;
    }
    EXPECT_TRUE(has_failed);
  }

  template <class Call>
  int watched(Call call) {
    faults::watch_allocations(failing_);
    const int result = call();
    allocations_ = faults::stop_allocations();
    return result;
  }

 private:
  faults::allocation_fault failing_;
  long allocations_ = 0;
};

/// The records of a list; its anchor is a record of the same layout.
template <class Record, class Line>
sandbox::lines told(Record& anchor, list_node Record::*link, Line line) {
  sandbox::lines all;
  const auto offset = reinterpret_cast<char*>(&(anchor.*link)) - reinterpret_cast<char*>(&anchor);
  for (list_node* node = (anchor.*link).next; node != &(anchor.*link); node = node->next)
    all.emplace_back(line(*reinterpret_cast<Record*>(reinterpret_cast<char*>(node) - offset)));
  return all;
}

TEST_F(without_memory, alarms_are_not_all_there) {
  std::string answer(3 * 516, 'x');
  answer[4] = 2;
  const auto ask = [&] {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    EXPECT_EQ(write(ends[1], answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
    tag_alarm_list list;
    alarm_list_init(&list);
    const int result = watched([&] { return alarm_socket_get(&list, ends[0]); });
    attempt got{result, told<tag_alarm_info>(list, &tag_alarm_info::node, [](const auto& alarm) {
                  return std::string(alarm.id) + alarm.time + alarm.text;
                })};
    alarm_list_fini(&list);
    close(ends[0]);
    close(ends[1]);
    return got;
  };
  expect_codes(ask, {ORV_E_ALARM_ITEM});
}

TEST_F(without_memory, iscsi_sessions_are_not_all_there) {
  machine.file("/proc/net/iet/session",
               "tid:1 name:a\n sid:1 initiator:i1\n  cid:0 ip:10.11.0.7 state:active\n"
               " sid:2 initiator:i2\n  cid:0 ip:10.11.0.8 state:active\n");
  const auto ask = [&] {
    tag_shareconn_list list;
    conn_list_init(&list);
    const int result = watched([&] { return get_conninfo_from_session(&list); });
    attempt got{result, told<tag_share_conn>(list, &tag_share_conn::node,
                                             [](const auto& client) { return client.user; })};
    conn_list_fini(&list);
    return got;
  };
  expect_codes(ask, {ORV_E_EXPORTS, ORV_E_COMMAND, ORV_E_FAILED});
}

TEST_F(without_memory, users_are_not_all_there) {
  machine.file("/etc/nas_userfile.conf", "ann||secret\nbob||secret\n", 0600);
  const auto ask = [&] {
    tag_user_info_list list;
    user_list_init(&list);
    const int result = watched([&] { return get_users_from_conf(&list); });
    attempt got{result, told<tag_user_info>(list, &tag_user_info::node,
                                            [](const auto& user) { return user.name; })};
    user_list_fini(&list);
    return got;
  };
  expect_codes(ask, {ORV_E_USER_FILE});
}

TEST_F(without_memory, iscsi_volumes_are_not_all_there) {
  machine.file("/proc/net/iet/volume",
               "tid:1 name:iqn.2006-05.org.orv:a.1\n\tlun:0 state:0 iotype:fileio path:/a\n"
               "tid:2 name:iqn.2006-05.org.orv:b.1\n\tlun:0 state:0 iotype:fileio path:/b\n");
  const auto ask = [&] {
    tag_shareconf_list list;
    share_list_init(&list);
    const int result = watched([&] { return get_shareinfo_from_iSCSI(&list); });
    attempt got{result, told<tag_share_config>(list, &tag_share_config::list,
                                               [](const auto& share) { return share.name; })};
    share_list_fini(&list);
    return got;
  };
  expect_codes(ask, {ORV_E_EXPORTS, ORV_E_COMMAND, ORV_E_FAILED});
}

class share_change_without_memory : public share_test {
 protected:
  using texts = std::map<std::string, std::string>;

  /// Files as no change before left them: nothing waits to complete one.
  void put_back(const texts& files) {
    machine.remove("/var/lib/orv");
    for (const auto& [path, text] : files) machine.file(path, text);
  }

  /// Whichever allocation fails, no share is told to exist or to be missing, and each of the files
  /// is as it was or as the change leaves it: a file that is written has all of its shares.
  void expect_old_or_new(const texts& files, const std::function<int()>& change) {
    put_back(files);
    EXPECT_EQ(change(), ORV_OK);
    texts changed;
    for (const auto& [path, text] : files) changed[path] = machine.read(path);
    bool has_failed = false;
    for (long at = 0; at < 1000; ++at) {
      put_back(files);
      faults::watch_allocations({.at = at});
      const int result = change();
      const long allocations = faults::stop_allocations();
      EXPECT_NE(result, ORV_E_SHARE_EXISTS) << at;
      EXPECT_NE(result, ORV_E_NO_SHARE) << at;
      for (const auto& [path, text] : files) {
        const std::string now = machine.read(path);
        const bool may_be_old = result != ORV_OK && now == text;
        EXPECT_TRUE(may_be_old || now == changed[path]) << at << ' ' << path << '\n' << now;
      }
      has_failed = has_failed || result == ORV_E_FAILED;
      if (allocations <= at) break;
    }
    EXPECT_TRUE(has_failed);
  }
};

TEST_F(share_change_without_memory, adds_a_share_to_a_file_or_leaves_the_file) {
  expect_old_or_new({{shares_path, listed("b") + listed("c")}, {smb_path, global + offered("b")}},
                    [] {
                      tag_share_config share = a_share("a");
                      return share_add(&share);
                    });
}

TEST_F(share_change_without_memory, parks_a_share_or_leaves_the_recycle_file) {
  expect_old_or_new(
      {{shares_path, listed("a")}, {smb_path, global + offered("a")}, {smb_recy_path, parked("b")}},
      [] {
        tag_share_config share = a_share("a");
        return share_set_use(&share);
      });
}

/// An appended share is told as one that was missing; want of memory is told otherwise. The list of
/// shares has the one that is modified: a failure to write it is not told where the service misses
/// the share.
TEST_F(share_change_without_memory, appends_a_missing_share_when_it_says_so) {
  const std::pair<int (*)(tag_share_config*), std::string> changes[] = {
      {share_mod, listed("a")}, {share_recy_mod, ""}, {share_set_use, ""}};
  for (const auto& [change, known] : changes) {
    bool has_failed = false;
    for (long at = 0; at < 1000; ++at) {
      put_back({{shares_path, known}, {smb_path, global}, {smb_recy_path, ""}});
      tag_share_config share = a_share("a");
      faults::watch_allocations({.at = at});
      const int result = change(&share);
      const long allocations = faults::stop_allocations();
      has_failed = has_failed || result == ORV_E_FAILED;
      if (result == ORV_E_NO_SHARE) {
        EXPECT_THAT(shares(), testing::StartsWith("[a]\n")) << at;
        EXPECT_EQ(smb(), change == share_mod ? global + offered("a") : global) << at;
        EXPECT_EQ(machine.read(smb_recy_path), change == share_mod ? "" : parked("a")) << at;
      } else {
        EXPECT_NE(result, ORV_OK) << at;
        EXPECT_NE(result, ORV_E_SHARE_EXISTS) << at;
      }
      if (allocations <= at) break;
    }
    EXPECT_TRUE(has_failed);
  }
}

class smart_without_memory : public without_memory {
 protected:
  using query = int (*)(tag_disk_info*);

  attempt asked(query get) {
    tag_disk_info disk;
    disk_conf_init(&disk);
    std::string("sda").copy(disk.name, sizeof disk.name - 1);
    const int result = watched([&] { return get(&disk); });
    attempt got{result, told<tag_disksmart_info>(
                            disk.smart_list, &tag_disksmart_info::list,
                            [](const auto& attribute) { return attribute.attr_name; })};
    const std::string enabled = disk.smart.smart_enabled;
    if (enabled != "NaN") got.found.push_back(enabled);
    disk_conf_fini(&disk);
    return got;
  }
};

TEST_F(smart_without_memory, attributes_are_not_all_there) {
  expect_codes([this] { return asked(get_smart_detail); },
               {ORV_E_SMART_DETAIL, ORV_E_COMMAND, ORV_E_FAILED});
}

TEST_F(smart_without_memory, summary_is_not_taken_for_that_of_another_disk) {
  expect_codes([this] { return asked(get_smart); },
               {ORV_E_SMART_SUMMARY, ORV_E_COMMAND, ORV_E_FAILED});
}

}  // namespace
