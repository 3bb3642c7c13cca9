/// Every exported function against failing system calls, failing tools and failing allocations.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>

#include "driver.h"

namespace {

using faults::subject;
using faults::tally;

/// Functions that touch nothing but the memory of their caller: they make no system call and
/// allocate nothing. Records and lists are cleared, released and shown by the others' tests.
const std::set<std::string> memory_only = {
    "auto_md_name(char const*, char*)",
    "clear_string(char*, int)",
    "found_raid(tag_pvinfo_list*, char const*)",
    "found_vg(tag_pvinfo_list*, char const*)",
    "isdashed(char const*)",
    "isdigital(char const*)",
    "isequal(char const*)",
    "key_val_split(char*, char**, char**)",
    "liborv_strcmp_substr(char const*, char const*, char const*)",
    "liborv_strncat(char*, int, char const*)",
    "liborv_strncpy(char*, int, char const*)",
    "ltrimstr(char*)",
    "mdcmp(char const*, char const*)",
    "orv_path_passwd_file",
    "orv_path_shadow_file",
    "orv_strerror(int)",
    "rtrimstr(char*)",
};

bool is_record_operation(const std::string& name) {
  const auto function = name.substr(0, name.find('('));
  return function.ends_with("_init") || function.ends_with("_fini") || function.ends_with("_show");
}

/// All faults are tried when the environment says ORV_FAULTS=all.
faults::thoroughness wanted() {
  const char* const said = std::getenv("ORV_FAULTS");
  const bool all = said != nullptr && std::string_view(said) == "all";
  return all ? faults::thoroughness::all : faults::thoroughness::some;
}

void print_row(const subject& driven, const tally& got) {
  std::printf("%-70s %6d %6d %6d %8d %8zu\n",
              (driven.name.substr(0, driven.name.find('(')) + " " + driven.variant).c_str(),
              got.system_calls, got.allocations, got.tools, got.faults, got.findings.size());
  std::fflush(stdout);
}

void drive_all(const std::vector<subject>& subjects) {
  const char* const only = std::getenv("ORV_FAULTS_ONLY");
  for (const subject& driven : subjects) {
    if (only != nullptr && driven.name.find(only) == std::string::npos) continue;
    const tally got = faults::drive(driven, wanted());
    print_row(driven, got);
    for (const auto& finding : got.findings) ADD_FAILURE() << finding;
  }
}

}  // namespace

TEST(faults, are_tried_on_every_exported_function) {
  std::set<std::string> driven = memory_only;
  for (const subject& one : faults::all_subjects()) driven.insert(one.name);
  for (const char* list :
       {ORV_SYMBOLS "/common/orvmgmt.symbols", ORV_SYMBOLS "/support/orvsupport.symbols"}) {
    std::ifstream symbols(list);
    ASSERT_TRUE(symbols) << list;
    for (std::string name; std::getline(symbols, name);) {
      const bool known = driven.erase(name) != 0 || is_record_operation(name);
      EXPECT_TRUE(known) << name << " is in no table of tests/faults";
    }
  }
  for (const auto& name : driven) ADD_FAILURE() << name << " is exported no more";
}

TEST(faults, of_support) { drive_all(faults::support_subjects()); }
TEST(faults, of_system) { drive_all(faults::system_subjects()); }
TEST(faults, of_disk) { drive_all(faults::disk_subjects()); }
TEST(faults, of_raid) { drive_all(faults::raid_subjects()); }
TEST(faults, of_lvm) { drive_all(faults::lvm_subjects()); }
TEST(faults, of_fs) { drive_all(faults::fs_subjects()); }
TEST(faults, of_share) { drive_all(faults::share_subjects()); }
TEST(faults, of_service) { drive_all(faults::service_subjects()); }
TEST(faults, of_user) { drive_all(faults::user_subjects()); }
