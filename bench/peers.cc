// The same answers from what a user would write instead: a shell script, and a Python script.
#include <sstream>
#include <stdexcept>

#include "bench/appliance.h"
#include "bench/machine.h"
#include "bench/process.h"
#include "bench/row.h"

namespace bench {
namespace {

using command = std::vector<std::string>;

void ask(const command& program, const std::string& answer) { run_program(program, answer); }

/// Both print the same lines.
void expect_same(const command& ours, const command& other) {
  ask(ours, "/tmp/ours");
  ask(other, "/tmp/other");
  if (read_file("/tmp/ours").empty()) throw std::runtime_error("no answer");
  std::istringstream our_answer(read_file("/tmp/ours"));
  std::istringstream other_answer(read_file("/tmp/other"));
  std::string our_line;
  std::string other_line;
  while (std::getline(our_answer, our_line)) {
    std::getline(other_answer, other_line);
    if (our_line != other_line) throw std::runtime_error(our_line + " | " + other_line);
  }
  if (std::getline(other_answer, other_line)) throw std::runtime_error("more: " + other_line);
}

struct question {
  const char* name;
  const char* limit;
};

constexpr question questions[] = {
    {"disks", "a cat for each of the driver's files is documented; reading them would change that"},
    {"arrays",
     "mdstat is read twice, and the disks for the enclosures; taking a list of disks that is "
     "there would change that"},
    {"groups",
     "arrays and disks are listed, each array once more, for the enclosures; taking lists that "
     "are there would change that"},
    {"pools",
     "groups, arrays and disks are listed for the enclosures; taking lists that are there would "
     "change that"},
    {"filesystems",
     "pools, groups, arrays and disks are listed for states and enclosures; taking lists "
     "that are there would change that"},
    {"shares", "the library reads each file once"},
};

}  // namespace

void add_peers(rows& all) {
  for (const question& asked : questions) {
    const command ours = {"/usr/bin/orv_report", asked.name};
    for (const command& other : {command{"/bin/sh", "/peers/report.sh", asked.name},
                                 command{"/usr/bin/python3", "/peers/report.py", asked.name}}) {
      const auto prepare = [=] {
        set_storage({.disks = 40, .arrays = 20, .pools = 50});
        set_shares(300);
        set_pace(pace::real);
        expect_same(ours, other);
      };
      all.push_back({std::string("report of ") + asked.name + ", " + other[1].substr(7),
                     other[1].substr(7), 1.0, asked.limit, prepare,
                     time_of([=] { ask(ours, "/dev/null"); }),
                     time_of([=] { ask(other, "/dev/null"); }), 9});
    }
  }
}

}  // namespace bench
