#include "tests/orvctl/appliance.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

struct grammar {
  const char* noun;
  std::vector<const char*> verbs;
};

const grammar nouns[] = {
    {"disk", {"list", "clear"}},
    {"spare", {"list", "add", "remove"}},
    {"raid", {"list", "create", "recreate", "add", "remove", "fail", "fail-all", "destroy"}},
    {"vg", {"list", "create", "extend", "destroy", "device", "repair", "resume", "restore"}},
    {"pool", {"list", "create", "extend", "destroy", "mkfs"}},
    {"fs",
     {"list", "mount", "umount", "mounted", "mkdir", "rmdir", "table", "table-add", "table-remove",
      "check"}},
    {"share", {"list", "add", "modify", "delete", "disable", "enable", "forget"}},
    {"recycle", {"list", "modify", "delete"}},
    {"service", {"list", "start", "stop", "restart"}},
    {"client", {"list"}},
    {"ftp-limit", {"show", "set"}},
    {"user", {"list", "add", "modify", "delete", "check"}},
    {"smart", {"list", "show"}},
    {"alarm", {"list"}},
    {"net", {"list"}},
    {"host", {"show", "set"}},
    {"clock", {"show", "set"}},
    {"power", {"off", "reboot"}},
    {"system", {"info", "codes", "processes"}},
    {"conf", {"list", "diff", "restore"}},
    {"status", {}},
    {"report", {}},
    {"metrics", {}},
};

}  // namespace

class usage : public appliance {
 protected:
  static void expect_refused(const std::vector<std::string>& words, const std::string& meaning) {
    const outcome got = run(words, "", true);
    EXPECT_EQ(got.status, 2) << meaning;
    EXPECT_EQ(got.out, "") << meaning;
    EXPECT_THAT(got.err, StartsWith("orvctl: " + meaning + "\n  What to do: "));
  }
};

TEST_F(usage, has_help_with_an_example_at_every_level) {
  const outcome top = orvctl("--help");
  EXPECT_EQ(top.status, 0);
  EXPECT_EQ(top.err, "");
  EXPECT_THAT(top.out, HasSubstr("Example:\n  orvctl "));
  for (const auto& [noun, verbs] : nouns) {
    EXPECT_THAT(top.out, HasSubstr("\n  " + std::string(noun) + " "));
    const outcome middle = orvctl(std::string(noun) + " --help");
    EXPECT_EQ(middle.status, 0);
    EXPECT_THAT(middle.out, HasSubstr("Example:\n  orvctl " + std::string(noun)));
    for (const char* verb : verbs) {
      EXPECT_THAT(middle.out, HasSubstr("\n  " + std::string(verb) + " "));
      const std::string words = std::string(noun) + " " + verb;
      const outcome bottom = orvctl(words + " -h");
      EXPECT_EQ(bottom.status, 0) << words;
      EXPECT_THAT(bottom.out, AllOf(HasSubstr("Usage: orvctl " + words), HasSubstr("--json"),
                                    HasSubstr("Example:\n  orvctl " + words)));
    }
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(usage, has_a_version) {
  EXPECT_THAT(orvctl("--version").out, testing::MatchesRegex("orvctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(usage, names_the_commands_there_are) {
  const std::string all =
      "disk, spare, raid, vg, pool, fs, share, recycle, service, client, ftp-limit, user, smart, "
      "alarm, net, host, clock, power, system, conf, status, report, metrics";
  expect_refused({}, "a command is missing: one of " + all);
  expect_refused({"spare"}, "spare: a command is missing: one of list, add, remove");
  expect_refused({"sparse", "list"}, "there is no command 'sparse' but " + all);
  expect_refused({"spare", "delete", "1"},
                 "spare: there is no command 'delete' but list, add, remove");
}

TEST_F(usage, wants_every_word_and_no_more) {
  expect_refused({"disk", "clear"}, "disk clear: CHANNELS is required");
  expect_refused({"raid", "create", "--disks", "1,2"}, "raid create: --level is required");
  expect_refused({"vg", "create", "vg1"}, "vg create: --pv is required");
  expect_refused({"raid", "list", "md0"},
                 "raid list: The following argument was not expected: md0");
  expect_refused({"raid", "list", "--yes"},
                 "raid list: The following argument was not expected: --yes");
}

TEST_F(usage, wants_whole_sizes_that_fit) {
  for (const char* size :
       {"0", "-5", "1.5", "1G", "010", "0x10", "", " 1", "18446744073709551616"}) {
    const std::string meaning =
        std::string("pool create: SIZE_GIB: '") + size + "' is not a whole number from 1";
    expect_refused({"pool", "create", "vg1", "data", size}, meaning);
  }
  const outcome largest = orvctl("pool create vg1 new 18446744073709551615");
  EXPECT_THAT(largest.err, HasSubstr("ORV_E_POOL_SIZE (-2053)"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(usage, wants_channels_that_are_numbers) {
  for (const char* channels : {"", ",", "1,", ",1", "1,,2", "1, 2", "sda", "0", "-1", "99999999"}) {
    expect_refused({"disk", "clear", channels, "--yes"},
                   std::string("disk clear: CHANNELS: '") + channels +
                       "' is not a list of channel numbers from 1, such as 1,2,3");
  }
  expect_refused({"raid", "add", "md0", "1,2"},
                 "raid add: CHANNEL: '1,2' is not a channel number from 1");
  expect_refused({"disk", "clear", "1", "--enclosure", "5"},
                 "disk clear: --enclosure: '5' is not an enclosure from 0 to 4");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(usage, cuts_no_name) {
  const std::string longest(32, 'v');
  expect_refused({"vg", "create", longest + "v", "--pv", "md0"},
                 "vg create: the name of the volume group is longer than 32 characters");
  expect_refused({"vg", "extend", "vg1", longest},
                 "vg extend: a physical volume is longer than 31 characters");
  expect_refused({"raid", "create", "--level", "raid5", "--disks", "1,2,3", "--name", longest},
                 "raid create: the name of the array is longer than 31 characters");
  expect_refused({"raid", "create", "--level", "raid5-and-6", "--disks", "1,2,3"},
                 "raid create: the level is longer than 7 characters");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(usage, lets_names_be_words_of_the_grammar) {
  machine.tool("/sbin/lvcreate").succeeds();
  EXPECT_EQ(orvctl("pool create vg1 list 1").err, "Created vg1/list.\n");
  EXPECT_EQ(orvctl("pool create vg1 raid 1").err, "Created vg1/raid.\n");
  EXPECT_EQ(orvctl("pool create vg1 create 1").err, "Created vg1/create.\n");
}

TEST_F(usage, takes_names_that_begin_with_a_dash_after_two_dashes) {
  const outcome got = orvctl("fs mounted -- -x");
  EXPECT_EQ(got.status, 3);
  EXPECT_EQ(got.out, "-x is not mounted.\n");
  expect_refused({"fs", "mounted", "-x"}, "fs mounted: PATH is required");
}

TEST_F(usage, errors_are_json_too) {
  const outcome got = orvctl("raid crate --json");
  EXPECT_EQ(got.status, 2);
  EXPECT_EQ(got.err, "");
  const json error = json::parse(got.out)["error"];
  EXPECT_EQ(error["code"], nullptr);
  EXPECT_EQ(error["name"], "usage");
  EXPECT_EQ(error["command"], "raid");
  EXPECT_THAT(orvctl("fs mounted --json --help").out, HasSubstr("Usage: "));
}
