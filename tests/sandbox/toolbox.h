/// The fake tools of one machine: their answers on disk, where the tool program finds them, and
/// what the machine's programs recorded.
#pragma once

#include <deque>
#include <set>

#include "programs/canned_answer.h"
#include "sandbox.h"

namespace sandbox {

class toolbox {
 public:
  toolbox() = default;
  toolbox(const toolbox&) = delete;
  toolbox& operator=(const toolbox&) = delete;

  fake_tool& at(std::string_view path);
  answer& add(canned_answer canned);

  canned_answer& canned(size_t number) { return entries_[number].canned; }
  void save(size_t number) const;
  void let_stay_unasked(size_t number) { entries_[number].optional = true; }

  void expect_missing(const std::string& path);
  /// Takes note of commands whose program is not there; called before a program comes or goes.
  void look_for_misses();

  lines commands() const;
  std::vector<call_record> calls() const;
  void forget();

  /// What broke the rules: calls that nothing answered, answers that nobody asked for.
  lines complaints();

 private:
  struct entry {
    canned_answer canned;
    answer handle;
    bool optional = false;
  };

  void complain_of_misses(lines& all) const;
  static void complain_of_uses(const entry& entry, int uses, lines& all);

  std::map<std::string, fake_tool> tools_;
  std::deque<entry> entries_;  // references to its elements stay valid
  lines misses_;               // commands whose program had a path but was not there
  std::set<std::string> expected_misses_;
  size_t traced_ = 0;  // bytes of the shells' trace looked at
  size_t forgotten_commands_ = 0;
  size_t forgotten_calls_ = 0;
};

}  // namespace sandbox
