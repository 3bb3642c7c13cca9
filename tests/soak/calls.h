#ifndef ORV_TESTS_SOAK_CALLS_H
#define ORV_TESTS_SOAK_CALLS_H

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace soak {

/// One kind of call.
struct call {
  std::string name;
  unsigned weight;  ///< how often it is made, among the others
  std::function<int()> make;
  std::vector<int> refusals;  ///< the codes besides ORV_OK that another process may bring about
  std::vector<int> races{};   ///< and those that the changes of the first process bring about
};

/// Something that is made, changed and removed again, over and over.
struct cycle {
  std::string name;
  unsigned weight;
  std::function<int()> add;
  std::function<int()> change;
  std::function<int()> remove;
  std::vector<int> refusals;
  int stage = 0;  ///< how many of the three have been done
};

/// The calls that only ask.
std::vector<call> queries();

/// Cycles of changes of an object of its own each. @param name  of this process
std::vector<cycle> share_cycles(const std::string& name);
/// Cycles that only one process can go through.
std::vector<cycle> machine_cycles();

/// Makes arrays, groups and file systems of the disks of a new appliance: there is something to ask
/// about. @return ORV_OK, or the code of the first failure
int prepare_machine();

}  // namespace soak

#endif
