#include "examples/daemon/watch.h"

#include <string>
#include <vector>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class daemon_watch : public testing::Test {
 protected:
  // What is told when the things are these.
  std::vector<std::string> look(const states& now, orv::result result = ORV_OK) {
    now_ = now;
    result_ = result;
    std::vector<std::string> told;
    watch_.look([&](const std::string& line) { told.push_back(line); });
    return told;
  }

 private:
  states now_;
  orv::result result_ = ORV_OK;
  watch watch_ = watch("array", [this](states& now) {
    now = now_;
    return result_;
  });
};

TEST_F(daemon_watch, tells_what_is_there_at_first) {
  EXPECT_THAT(look({{"md0", "clean"}, {"md1", "inactive"}}),
              ElementsAre("array md0: clean", "array md1: inactive"));
}

TEST_F(daemon_watch, tells_nothing_while_nothing_changes) {
  look({{"md0", "clean"}});
  EXPECT_THAT(look({{"md0", "clean"}}), IsEmpty());
}

TEST_F(daemon_watch, tells_what_changed_what_is_new_and_what_is_gone) {
  look({{"md0", "clean"}, {"md1", "clean"}});
  EXPECT_THAT(look({{"md0", "degraded"}, {"md2", "clean"}}),
              ElementsAre("array md0: degraded (was: clean)", "array md2: clean",
                          "array md1 is gone (was: clean)"));
}

TEST_F(daemon_watch, tells_once_what_cannot_be_read_and_takes_nothing_as_gone) {
  look({{"md0", "clean"}});
  EXPECT_THAT(look({}, ORV_E_MDSTAT),
              ElementsAre("arrays cannot be read: ORV_E_MDSTAT (-1033): the kernel's array status "
                          "cannot be opened"));
  EXPECT_THAT(look({}, ORV_E_MDSTAT), IsEmpty());
  EXPECT_THAT(look({{"md0", "degraded"}}),
              ElementsAre("arrays can be read again", "array md0: degraded (was: clean)"));
}

}  // namespace
