#include <cstdio>

#include "tests/crash/rewrites.h"
#include "tests/crash/traced.h"

using testing::AnyOf;
using testing::IsEmpty;

namespace {

class killed : public rewrite_test, public testing::WithParamInterface<std::size_t> {
 protected:
  /// Kills a change before its n-th system call, and the next one finds old or new.
  /// @param twice  what there is when the change was made and is asked for again
  bool kill_at(const rewrite_case& each, int call, const contents& old, const contents& renewed,
               const contents& twice) {
    set_up(each.files);
    const traced_run run = run_traced(each.change, call);
    if (!run.was_killed) return false;
    for (const auto& [path, text] : found(each.files)) {
      EXPECT_THAT(text, AnyOf(old.at(path), renewed.at(path)))
          << each.name << " at " << call << path;
      EXPECT_THAT(kept_of(path), AnyOf("", old.at(path), renewed.at(path)))
          << each.name << " at " << call << ", copy of " << path;
    }
    each.change();
    for (const auto& [path, text] : found(each.files)) {
      EXPECT_THAT(text, AnyOf(renewed.at(path), twice.at(path)))
          << each.name << " again after " << call << ": " << path;
    }
    for (const auto& [path, text] : each.files) conf_save(path.c_str());
    EXPECT_THAT(helpers(), IsEmpty()) << each.name << " after " << call;
    return true;
  }
};

}  // namespace

TEST_P(killed, at_every_system_call_leaves_old_or_new) {
  const rewrite_case each = all_cases().at(GetParam());
  set_up(each.files);
  const contents old = found(each.files);
  const int calls = run_traced(each.change).calls;
  const contents renewed = found(each.files);
  EXPECT_NE(renewed, old) << each.name;
  each.change();
  const contents twice = found(each.files);
  const int step = rounds(calls / 40 + 1, 1);
  int kills = 0;
  for (int call = 1 + calls % step; call <= calls && !HasFailure(); call += step) {
    kills += kill_at(each, call, old, renewed, twice) ? 1 : 0;
  }
  std::fprintf(stderr, "%s: %d calls, %d kills\n", each.name.c_str(), calls, kills);
  EXPECT_GT(kills, calls / step / 2) << each.name;
}

INSTANTIATE_TEST_SUITE_P(change, killed, testing::Range<std::size_t>(0, rewrite_test::cases));
