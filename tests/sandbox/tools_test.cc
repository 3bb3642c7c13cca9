/// Fake tools: what they answer, what is recorded of them, and what fails a test.
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <unistd.h>

#include <csignal>

#include "code.h"
#include "sandbox.h"

namespace {

using sandbox::exit_code_of;
using sandbox::run;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Tools = sandbox_test;

TEST_F(Tools, SucceedInSilenceWhenNothingElseIsSaid) {
  machine.tool("/sbin/pvcreate").succeeds();
  machine.tool("/sbin/pvremove").on("/dev/md0");
  EXPECT_EQ(run("/sbin/pvcreate /dev/md0 > /tmp/said 2>&1"), 0);
  EXPECT_EQ(run("/sbin/pvremove /dev/md0 >> /tmp/said 2>&1"), 0);
  EXPECT_EQ(machine.read("/tmp/said"), "");
}

TEST_F(Tools, PrintComplainAndFail) {
  machine.tool("/sbin/mdadm").on("--detail /dev/md0").prints("level\n").complains("bad\n").fails(3);
  EXPECT_EQ(exit_code_of("/sbin/mdadm --detail /dev/md0 > /tmp/out 2> /tmp/errors"), 3);
  EXPECT_EQ(machine.read("/tmp/out"), "level\n");
  EXPECT_EQ(machine.read("/tmp/errors"), "bad\n");
}

TEST_F(Tools, PrintAnyBytesHoweverMany) {
  std::string bytes;
  for (int i = 0; i < 3'000'000; ++i) bytes += static_cast<char>(i % 256);
  machine.tool("netstat").prints(bytes);
  run("netstat > /tmp/out");
  EXPECT_TRUE(machine.read("/tmp/out") == bytes);
}

TEST_F(Tools, WithoutSlashStandInBinAndAreFoundByName) {
  machine.tool("mdadm").prints("found\n");
  EXPECT_EQ(run("mdadm > /tmp/by_name; /bin/mdadm > /tmp/by_path"), 0);
  EXPECT_EQ(machine.read("/tmp/by_name") + machine.read("/tmp/by_path"), "found\nfound\n");
}

TEST_F(Tools, AreFoundInEveryDirectoryOfThePath) {
  machine.tool("/usr/local/bin/hotspare").succeeds();
  machine.tool("/usr/sbin/smartctl").succeeds();
  EXPECT_EQ(run("hotspare && smartctl"), 0);
}

TEST_F(Tools, DieOfASignal) {
  machine.tool("/sbin/mdadm").dies_of(SIGKILL);
  const int status = run("/sbin/mdadm -S /dev/md0");
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST_F(Tools, TakeTheirTime) {
  machine.tool("slow").takes(std::chrono::milliseconds(60)).prints("done");
  const auto start = std::chrono::steady_clock::now();
  run("slow > /tmp/out");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
  EXPECT_EQ(machine.read("/tmp/out"), "done");
}

TEST_F(Tools, ChangeTheMachine) {
  machine.file("/proc/mdstat", "md0 : active\n");
  machine.tool("mdadm").on("-S ...").runs("echo unused > /proc/mdstat; rm -f $2; echo stopped $2");
  machine.file("/dev/md0", "");
  EXPECT_EQ(run("mdadm -S /dev/md0 > /tmp/out"), 0);
  EXPECT_EQ(machine.read("/proc/mdstat"), "unused\n");
  EXPECT_FALSE(machine.exists("/dev/md0"));
  EXPECT_EQ(machine.read("/tmp/out"), "stopped /dev/md0\n");
}

TEST_F(Tools, RemoveTheFileThatTheirOutputGoesTo) {
  machine.tool("cat").prints("lost").runs("rm -f /tmp/disk*");
  EXPECT_EQ(run("cat /proc/scsi > /tmp/disk0.abc123"), 0);
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(Tools, ExitAsTheirScriptDoesUnlessTheyFailOtherwise) {
  machine.tool("one").runs("exit 4");
  machine.tool("two").runs("exit 4").fails(6);
  machine.tool("three").runs("exit 4").succeeds();
  EXPECT_EQ(exit_code_of("one"), 4);
  EXPECT_EQ(exit_code_of("two"), 6);
  EXPECT_EQ(exit_code_of("three"), 0);
}

TEST_F(Tools, AnswerInTurnThenAsTheLastTime) {
  machine.tool("mdadm").on("--detail /dev/md0").prints("1").then().prints("2").then().prints("3");
  run("for i in 1 2 3 4 5; do mdadm --detail /dev/md0; done > /tmp/out");
  EXPECT_EQ(machine.read("/tmp/out"), "12333");
}

TEST_F(Tools, AnswerSoManyTimes) {
  machine.tool("mdadm").on("-D").prints("1").times(2).then().prints("2").times(1);
  run("for i in 1 2 3; do mdadm -D; done > /tmp/out");
  EXPECT_EQ(machine.read("/tmp/out"), "112");
}

TEST_F(Tools, PreferTheAnswerWhoseWordsAreCloser) {
  auto& mdadm = machine.tool("mdadm");
  mdadm.prints("anything ");
  mdadm.on("--examine ...").prints("any disk ");
  mdadm.on("--examine /dev/sd?").prints("sd disk ");
  mdadm.on("--examine /dev/sdb").prints("sdb ");
  run("for i in '-V' '--examine /dev/sdb' '--examine /dev/sda' '--examine /dev/sda' "
      "'--examine /dev/sdb'; do mdadm $i; done > /tmp/out");
  EXPECT_EQ(machine.read("/tmp/out"), "anything sdb any disk sd disk sdb ");
}

TEST_F(Tools, MatchWholeWords) {
  machine.tool("t").on_exactly({"a b", "*"}).prints("exact");
  machine.tool("t").on("[a] x*y /tmp/f.XXXXXX").prints("wild");
  run("t 'a b' '*' > /tmp/exact; t '[a]' xxyy /tmp/f.aB3dE6 > /tmp/wild");
  EXPECT_EQ(machine.read("/tmp/exact"), "exact");
  EXPECT_EQ(machine.read("/tmp/wild"), "wild");
}

TEST_F(Tools, CanBeRealApplets) {
  machine.tool("cat").is_real();
  machine.tool("mv").is_real();
  machine.tool("mv").on("... ").if_asked().fails(1);
  machine.tool("cat").on("/proc/mdstat").prints("canned");
  machine.file("/etc/mdfstab", "content");
  EXPECT_EQ(run("cat /etc/mdfstab > /tmp/copy; cat /proc/mdstat > /tmp/mdstat"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), "content");
  EXPECT_EQ(machine.read("/tmp/mdstat"), "canned");
  EXPECT_THAT(machine.calls(),
              ElementsAre(ElementsAre("cat", "/etc/mdfstab"), ElementsAre("cat", "/proc/mdstat")));
}

TEST_F(Tools, ThatReachBeyondTheMachineAreNeverReal) {
  EXPECT_THROW(machine.tool("/sbin/reboot").is_real(), std::system_error);
}

TEST_F(Tools, AreAskedOnceAtLeastOrNotDescribed) {
  EXPECT_THROW(machine.tool("t").succeeds().if_asked().times(0), std::invalid_argument);
}

TEST_F(Tools, MayBeMissingOnPurpose) {
  machine.tool("mdadm").is_missing();
  machine.tool("/sbin/lvs").is_missing();
  EXPECT_EQ(exit_code_of("mdadm --detail /dev/md0 2> /dev/null"), 127);
  EXPECT_EQ(exit_code_of("/sbin/lvs 2> /dev/null"), 127);
}

TEST_F(Tools, AnswerOneCallAtATime) {
  machine.tool("t").on("a").prints("x").times(20).then().prints("y").times(20);
  run("for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do t a >> /tmp/out & "
      "t a >> /tmp/out & done; wait");
  auto out = machine.read("/tmp/out");
  std::sort(out.begin(), out.end());
  EXPECT_EQ(out, std::string(20, 'x') + std::string(20, 'y'));
  EXPECT_THAT(machine.calls(), SizeIs(40));
}

TEST_F(Tools, AreRecordedWordByWord) {
  machine.tool("/usr/sbin/vgcreate").succeeds();
  machine.tool("t").succeeds();
  run("/usr/sbin/vgcreate 'a b' '' \"c\nd\"; t");
  EXPECT_THAT(machine.calls(),
              ElementsAre(ElementsAre("/usr/sbin/vgcreate", "a b", "", "c\nd"), ElementsAre("t")));
  EXPECT_EQ(machine.call_records()[1].path, "/bin/t");
}

TEST_F(Tools, AreRecordedWithTheirSurroundings) {
  machine.tool("t").succeeds();
  const int leaked = ::open("/dev/zero", O_RDONLY);
  run("LC_ALL=C t < /dev/null");
  ::close(leaked);
  run("unset LC_ALL; echo | t; t < /bin/t; t <&-");
  const auto calls = machine.call_records();
  ASSERT_THAT(calls, SizeIs(4));
  EXPECT_EQ(calls[0].environment.at("LC_ALL"), "C");
  EXPECT_EQ(calls[1].environment.count("LC_ALL"), 0U);
  EXPECT_THAT(calls[0].descriptors, testing::Contains(leaked));
  EXPECT_THAT(calls[1].descriptors, testing::Not(testing::Contains(leaked)));
  EXPECT_EQ(calls[0].input, "/dev/null");
  EXPECT_EQ(calls[1].input, "pipe");
  EXPECT_EQ(calls[2].input, "file");
  EXPECT_EQ(calls[3].input, "closed");
}

TEST_F(Tools, CommandsAreRecordedAsTheShellGotThem) {
  machine.tool("t").succeeds();
  run("t  'a b'   > /dev/null");
  run("echo -e 'x\\ty' > /tmp/out\nfalse || t;");
  EXPECT_THAT(machine.commands(),
              ElementsAre("t  'a b'   > /dev/null", "echo -e 'x\\ty' > /tmp/out\nfalse || t;"));
  EXPECT_EQ(machine.read("/tmp/out"), "x\ty\n");
}

// The rules. Each case is a machine of its own, whose end brings exactly the one failure.

template <class story>
void on_a_machine(story&& tell) {
  sandbox::machine machine;
  tell(machine);
}

TEST(Rules, AToolThatTheTestDoesNotProvideFailsIt) {
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto&) { run("mdadm -S /dev/md0 2> /dev/null"); }),
                          "the test provides no tool for: mdadm -S /dev/md0");
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto&) { run("/sbin/mdadm -S 'a b' 2> /dev/null"); }),
                          "the test provides no tool for: /sbin/mdadm -S 'a b'");
}

TEST(Rules, AMissingToolIsNoticedWhereverItStands) {
  for (const std::string command :
       {"! /sbin/no x; true", "true | /sbin/no x | true", "if /sbin/no x; then :; fi",
        "echo $(/sbin/no x) > /dev/null", "( exec /sbin/no x ) || true", "A=/b command /sbin/no x",
        "no() { /sbin/no x; }; no", "for i in 1; do /sbin/no x & done; wait",
        "/bin/sh -c '/sbin/no x; :'"}) {
    SCOPED_TRACE(command);
    EXPECT_NONFATAL_FAILURE(on_a_machine([&](auto&) { run("exec 2> /dev/null; " + command); }),
                            "/sbin/no x");
  }
}

TEST(Rules, AToolThatCameTooLateWasMissing) {
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) {
                            run("/sbin/mdadm 2> /dev/null");
                            machine.tool("/sbin/mdadm").succeeds().if_asked();
                          }),
                          "the test provides no tool for: /sbin/mdadm");
}

TEST(Rules, AToolThatTheTestRemovesLaterWasThere) {
  on_a_machine([](auto& machine) {
    machine.tool("/sbin/mdadm").succeeds();
    run("/sbin/mdadm");
    machine.remove("/sbin/mdadm");
  });
}

TEST(Rules, ACallThatNoAnswerFitsFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) {
                            machine.tool("mdadm").on("-S").if_asked();
                            EXPECT_EQ(exit_code_of("mdadm -S /dev/md1 2> /dev/null"), 127);
                          }),
                          "the test gives no answer to: mdadm -S /dev/md1");
}

TEST(Rules, AnAnswerThatNobodyAskedForFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) {
                            machine.tool("mdadm").on("--detail /dev/md0").prints("x");
                          }),
                          "nobody asked for: /bin/mdadm --detail /dev/md0");
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) { machine.tool("mdadm").succeeds(); }),
                          "nobody asked for: /bin/mdadm ...");
}

TEST(Rules, AnAnswerAskedForTooRarelyOrTooOftenFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) {
                            machine.tool("mdadm").on("-S").times(2);
                            run("mdadm -S");
                          }),
                          "asked for 1 times instead of 2: /bin/mdadm -S");
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) {
                            machine.tool("mdadm").on("-S").times(1);
                            run("mdadm -S; mdadm -S 2> /dev/null");
                          }),
                          "the test gives no answer to: mdadm -S");
}

TEST(Rules, AMissingToolThatNobodyMissedFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) { machine.tool("mdadm").is_missing(); }),
                          "nobody found out that there is no /bin/mdadm");
}

TEST(Rules, AScriptThatNeedsWhatIsNotThereFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(on_a_machine([](auto& machine) {
                            machine.tool("t").runs("no_such_applet x");
                            run("t 2> /dev/null");
                          }),
                          "the test provides no tool for: no_such_applet x");
}

TEST(Rules, OptionalAnswersAndRealToolsMayStayUnasked) {
  on_a_machine([](auto& machine) {
    machine.tool("mdadm").on("-S").fails(1).if_asked();
    machine.tool("cat").is_real();
  });
}

}  // namespace
