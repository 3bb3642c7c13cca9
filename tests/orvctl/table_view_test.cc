#include "tests/orvctl/appliance.h"
#include "tools/orvctl/state_colour.h"

using orvctl::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// What lists look like when the user says how.
class list_options : public appliance {
 protected:
  static std::string shown(const std::string& words) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 0) << words << '\n' << got.err;
    return got.out;
  }

  static std::string on_colour_terminal(const std::string& words) {
    std::vector<const char*> arguments = {"orvctl"};
    const std::vector<std::string> all = split(words);
    for (const std::string& word : all) arguments.push_back(word.c_str());
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(orvctl::run(static_cast<int>(arguments.size()), arguments.data(),
                          {in, out, err, true, -1, true}),
              0);
    return out.str();
  }
};

TEST_F(list_options, show_the_wanted_columns_in_their_order) {
  EXPECT_EQ(shown("pool list --columns size,pool"),
            "   SIZE POOL\n"
            "500 GiB data\n");
  EXPECT_EQ(shown("fs list --columns mount_point,USE --no-headings"), "/mnt/data 60%\n");
}

TEST_F(list_options, know_a_column_by_its_title_and_by_its_key) {
  EXPECT_EQ(shown("pool list --columns volume_group,size_bytes"),
            shown("pool list --columns GROUP,Size"));
}

TEST_F(list_options, choose_the_keys_of_json_objects) {
  EXPECT_EQ(json::parse(shown("pool list --json --columns size,name"))["pools"].dump(),
            R"([{"size_bytes":536870912000,"name":"data"}])");
}

TEST_F(list_options, show_bytes_as_plain_numbers) {
  EXPECT_EQ(shown("vg list --bytes --no-headings --columns size,used,free"),
            "1999307276288 536870912000 1462436364288\n");
}

TEST_F(list_options, refuse_columns_that_there_are_not) {
  const outcome unknown = orvctl("pool list --columns name,colour");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.out, "");
  EXPECT_THAT(unknown.err,
              StartsWith("orvctl: pool list: --columns: there is no column 'colour' but group, "
                         "pool, size, state, enclosure, device\n"));
  for (const char* columns : {"", ",", "pool,", "pool,pool", "name,pool"}) {
    const outcome got = run({"pool", "list", "--columns", columns}, "", false);
    EXPECT_EQ(got.status, 2) << columns;
    EXPECT_EQ(got.out, "") << columns;
  }
  EXPECT_EQ(orvctl("pool list --columns").status, 2);
  const json error = json::parse(orvctl("raid list --columns colour --json").out)["error"];
  EXPECT_EQ(error["exit_status"], 2);
  EXPECT_THAT(error["meaning"].get<std::string>(), HasSubstr("name, level, state"));
}

TEST_F(list_options, belong_to_every_list) {
  for (const char* list :
       {"disk list", "spare list", "raid list", "vg list", "pool list", "fs list", "fs table",
        "share list", "recycle list", "service list", "client list", "user list", "smart list",
        "smart show", "alarm list", "net list", "system codes", "conf list"}) {
    const std::string help = orvctl(std::string(list) + " --help").out;
    EXPECT_THAT(help, testing::AllOf(HasSubstr("--columns A,B"), HasSubstr("--no-headings"),
                                     HasSubstr("--bytes")))
        << list;
  }
}

TEST_F(list_options, colour_states_and_nothing_else) {
  EXPECT_EQ(on_colour_terminal("raid list --no-headings --columns name,state"),
            "md0 \x1b[32mclean\x1b[0m\n"
            "md1 \x1b[33mclean, degraded, recovering\x1b[0m\n");
  EXPECT_THAT(shown("raid list"), Not(HasSubstr("\x1b")));
  EXPECT_THAT(on_colour_terminal("raid list --json"), Not(HasSubstr("\\u001b")));
}

TEST(colours, judge_states_by_their_worst_word) {
  using orvctl::mood;
  using orvctl::mood_of;
  EXPECT_EQ(mood_of("clean"), mood::good);
  EXPECT_EQ(mood_of("clean, degraded"), mood::attention);
  EXPECT_EQ(mood_of("inactive"), mood::bad);
  EXPECT_EQ(mood_of("not available"), mood::bad);
  EXPECT_EQ(mood_of("FAILED!"), mood::bad);
  EXPECT_EQ(mood_of("umount"), mood::attention);
  EXPECT_EQ(mood_of(json()), mood::none);
  EXPECT_EQ(mood_of(false), mood::none);
}

TEST(colours, are_not_wanted_where_they_are_refused) {
  ::setenv("TERM", "xterm", 1);
  ::unsetenv("NO_COLOR");
  EXPECT_TRUE(orvctl::wants_colours());
  ::setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(orvctl::wants_colours()) << "an empty one says nothing";
  ::setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(orvctl::wants_colours());
  ::unsetenv("NO_COLOR");
  ::setenv("TERM", "dumb", 1);
  EXPECT_FALSE(orvctl::wants_colours());
}
