#include "common/own_lock.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>

#include "tests/sandbox/bend.h"
#include "tests/sandbox/sandbox.h"

using testing::IsEmpty;

namespace {

using own_lock = sandbox_test;

/// Whether the lock can be had at the first attempt.
bool is_free() { return static_cast<bool>(orv::own_lock("name")); }

TEST_F(own_lock, is_refused_to_others_until_its_end) {
  sandbox::hasten(std::chrono::seconds(11));
  {
    const orv::own_lock lock("name");
    EXPECT_TRUE(lock);
    EXPECT_FALSE(is_free());
  }
  EXPECT_TRUE(is_free());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(own_lock, is_not_kept_by_a_child_that_was_forked_meanwhile) {
  sandbox::hasten(std::chrono::seconds(11));
  std::optional<orv::own_lock> lock("name");
  const pid_t child = ::fork();
  if (child == 0) {
    for (;;) ::pause();
  }
  ASSERT_GT(child, 0);
  lock.reset();
  EXPECT_TRUE(is_free());
  EXPECT_EQ(::kill(child, SIGKILL), 0);
  EXPECT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST_F(own_lock, leaves_errno_as_it_is) {
  machine.fail("flock", EIO, 2);
  {
    const orv::own_lock lock("name");
    errno = EBADMSG;
  }
  EXPECT_EQ(errno, EBADMSG);
}

}  // namespace
