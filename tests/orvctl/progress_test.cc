#include "tools/orvctl/progress_bar.h"

#include "tests/orvctl/appliance.h"
#include "tools/orvctl/table.h"

using orvctl::duration_text;
using orvctl::json;
using orvctl::progress_bar;
using orvctl::progress_line;
using orvctl::work_progress;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(progress, is_told_in_a_line) {
  EXPECT_EQ(progress_line({"md0", "recovering", 12.6, 48U << 20, 200}),
            "md0 recovering 12.6%, 48.0 MiB/s, 3 min left");
  EXPECT_EQ(progress_line({"md0", "resyncing", {}, 0, {}}), "md0 resyncing waits");
}

TEST(progress, is_shown_as_a_bar) {
  EXPECT_EQ(progress_bar({"md0", "recovering", 50.0, 0, {}}, 43),
            "md0 recovering [==========>         ] 50.0%");
  EXPECT_EQ(progress_bar({"md0", "recovering", 100.0, 0, {}}, 33),
            "md0 recovering [=========] 100.0%");
  EXPECT_EQ(progress_bar({"md0", "recovering", 0.0, 0, {}}, 500).size(), 62U);
  EXPECT_EQ(progress_bar({"md0", "recovering", 50.0, 0, {}}, 10), "md0 recove");
}

TEST(progress, tells_times_in_units_that_fit) {
  EXPECT_EQ(duration_text(0), "0 s");
  EXPECT_EQ(duration_text(59), "59 s");
  EXPECT_EQ(duration_text(89), "1 min");
  EXPECT_EQ(duration_text(3599), "60 min");
  EXPECT_EQ(duration_text(6000), "1 h 40 min");
}

namespace {

/// The appliance, whose md1 is rebuilt from look to look.
class watch : public appliance {
 protected:
  watch() {
    tell("count", "0\n");
    tell("later",
         "md1 : active raid1 sde[2] sdf[1]\n"
         "      976629760 blocks super 1.2 [2/1] [_U]\n"
         "      [====>...............]  recovery = 46.2% (1/8) finish=3min "
         "speed=49152K/sec\n");
    tell("clean",
         "/dev/md1:\n        Raid Level : raid1\n"
         "        Array Size : 976629760 (931.39 GiB 1000.07 GB)\n"
         "             State : clean \n");
    // Each look reads the file twice; the third one finds the work done.
    machine.tool("cat")
        .on("/proc/mdstat")
        .runs(
            "n=$(cat /told/count); echo $((n + 1)) > /told/count\n"
            "if test $n -eq 4; then " +
            at_the_end +
            "; fi\n"
            "if test $n -ge 2; then cat /told/later; else cat /proc/mdstat; fi");
  }

  void end_with(const std::string& script) { tell("end", script); }

  static constexpr char whole[] =
      "cp /told/clean /told/md1; echo in_sync > /sys/block/md1/md/dev-sde/state";
  static constexpr char degraded[] =
      "sed -i 's/, recovering//' /told/md1; rm -r /sys/block/md1/md/dev-sde";

 private:
  const std::string at_the_end = ". /told/end";
};

}  // namespace

TEST_F(watch, tells_each_change_in_a_line_until_the_array_is_whole) {
  end_with(whole);
  const outcome got = orvctl("raid watch md1 --interval 0.1");
  EXPECT_EQ(got.status, 0) << got.err;
  EXPECT_EQ(got.out,
            "md1 recovering 12.6%, 48.0 MiB/s, 4 h 49 min left\n"
            "md1 recovering 46.2%, 48.0 MiB/s, 2 h 58 min left\n"
            "md1 clean\n");
  EXPECT_EQ(got.err, "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(watch, fails_when_an_array_is_not_whole_then) {
  end_with(degraded);
  const outcome got = orvctl("raid watch md1 --interval 0.1");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.out, HasSubstr("\nmd1 clean, degraded\n"));
  EXPECT_THAT(got.err, HasSubstr("not every array has all its members: md1\n"));
}

TEST_F(watch, ends_with_one_document) {
  end_with(whole);
  const outcome got = orvctl("raid watch md1 --interval 0.1 --json");
  EXPECT_EQ(got.status, 0);
  const json document = json::parse(got.out);
  ASSERT_EQ(document["arrays"].size(), 1U);
  EXPECT_EQ(document["arrays"][0]["name"], "md1");
  EXPECT_EQ(document["arrays"][0]["state"], "clean");
}

TEST_F(watch, redraws_bars_on_a_terminal) {
  end_with(whole);
  std::vector<const char*> words = {"orvctl", "raid", "watch", "--interval", "0.1"};
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  // No terminal knows how wide it is: 80 columns then.
  orvctl::streams io = {in, out, err, false};
  io.out_terminal = 0;
  EXPECT_EQ(orvctl::run(static_cast<int>(words.size()), words.data(), io), 0) << err.str();
  EXPECT_THAT(out.str(), HasSubstr("md1 recovering [===>  "));
  EXPECT_THAT(out.str(), HasSubstr("46.2%, 48.0 MiB/s, 2 h 58 min left\n\x1b[1A\x1b[Jmd1 clean\n"));
}

TEST_F(watch, needs_an_array_of_that_name) {
  EXPECT_EQ(orvctl("raid watch md7").status, 3);
  EXPECT_EQ(orvctl("raid watch md1 --interval 0").status, 2);
}

TEST_F(watch, follows_a_change_that_waits) {
  end_with(whole);
  machine.tool("/sbin/mdadm").on("-C /dev/md1 -l 5 -n 3 -R /dev/sda /dev/sde /dev/sdf");
  const outcome got = orvctl("raid recreate md1 --level raid5 --disks sda,sde,sdf --yes --wait");
  EXPECT_EQ(got.status, 0) << got.err;
  EXPECT_EQ(got.out, "");
  EXPECT_THAT(got.err, HasSubstr("Created md1 anew.\nmd1 recovering"));
  EXPECT_THAT(got.err, HasSubstr("\nmd1 clean\n"));
}
