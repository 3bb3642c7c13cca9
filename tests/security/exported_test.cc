/// The table of driven functions is complete: it is compared with what the libraries export.
#include "tests/security/exported.h"

#include <algorithm>

#include "tests/sandbox/sandbox.h"
#include "tests/security/functions.h"

namespace {

using places = std::set<std::string>;

/// Arguments that a function only writes to, as its header says.
const std::map<std::string, places>& outputs() {
  static const std::map<std::string, places> all = {
      {"auto_md_name(char const*, char*)", {"1"}},
      {"get_disk_model(char const*, char*, int)", {"1"}},
      {"get_disk_state(char const*, char*, int)", {"1"}},
      {"get_disk_usage(char const*, char*, int)", {"1"}},
      {"get_gateway(char const*, char const*, char*)", {"2"}},
      {"get_mdinfo_type(_IO_FILE*, char*, int, char const*)", {"1"}},
      {"get_pwd_from_conf(char const*, char*, int)", {"1"}},
      {"get_raid_device(char const*, char*, int)", {"1"}},
      {"get_raid_disks(char const*, char*, int)", {"1"}},
      {"get_raid_level(char const*, char*, int)", {"1"}},
      {"get_raid_status(char const*, char*, int)", {"1"}},
      {"get_value_from_file(_IO_FILE*, char const*, char const*, int, char*, int)", {"4"}},
      {"vg_get_pv(char const*, char*)", {"1"}},
      {"fgetline(_IO_FILE*, char*, int)", {"1"}},
      {"get_line_from_file(_IO_FILE*, char const*, int, char const*, char*, int)", {"4"}},
      {"get_line_from_file_end(_IO_FILE*, char const*, int, char const*, char*, int)", {"4"}},
      {"get_str_from_display(char const*, int, char const*, int, char*, int)", {"4"}},
      {"ini_key_get(char const*, char const*, char const*, char*, int)", {"3"}},
      {"ini_value_get(char*, char const*, char const*, char const*, int)", {"0"}},
      {"txt_line_seek(char const*, char const*, int, char*, int)", {"3"}},
  };
  return all;
}

/// Functions without any text of the caller's: they fill a buffer, run one fixed command, or take
/// the command line itself.
bool takes_no_text(const std::string& signature) {
  static const std::set<std::string> getters = {
      "devmodel_get(char*, int)",  "fan_speed_get(char*, int)", "hardversion_get(char*, int)",
      "hostname_get(char*, int)",  "pwstate_get(char*, int)",   "softversion_get(char*, int)",
      "starttime_get(char*, int)", "systime_get(char*, int)",   "tmp_get(char*, int)",
      "getline(int, char*, int)",  "liborv_system(char const*)"};
  const auto& forgetting = security::functions_that_forget();
  return getters.contains(signature) ||
         std::any_of(forgetting.begin(), forgetting.end(), [&](const std::string& part) {
           return signature.find(part) != std::string::npos;
         });
}

bool is_text(const std::string& type) { return type == "char const*" || type == "char*"; }

std::string without_decoration(std::string type) {
  for (const std::string end : {"*", " const"}) {
    if (type.ends_with(end)) type.resize(type.size() - end.size());
  }
  return type;
}

places expected_places(const std::string& signature) {
  static const auto fields = security::text_fields_of_records();
  places expected;
  if (takes_no_text(signature)) return expected;
  const auto parameters = security::parameters_in(signature);
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const std::string number = std::to_string(i);
    if (is_text(parameters[i])) expected.insert(number);
    const auto record = fields.find(without_decoration(parameters[i]));
    if (record == fields.end()) continue;
    for (const std::string& field : record->second) expected.insert(number + '.' + field);
  }
  const auto written = outputs().find(signature);
  if (written != outputs().end()) {
    for (const std::string& place : written->second) expected.erase(place);
  }
  return expected;
}

std::map<std::string, places> driven_places() {
  std::map<std::string, places> driven;
  for (const auto& call : security::all_functions()) {
    for (const auto& place : call->places) driven[call->signature].insert(place.id);
  }
  return driven;
}

}  // namespace

TEST(driven_functions, are_all_that_take_text) {
  auto driven = driven_places();
  const auto exported = security::exported_functions();
  EXPECT_GT(exported.size(), 300U);
  std::size_t all_places = 0;
  for (const std::string& signature : exported) {
    const places expected = expected_places(signature);
    all_places += expected.size();
    // The format is the function's own; its values are what callers pass on.
    if (signature.ends_with(", ...)")) driven[signature] = expected;
    EXPECT_EQ(driven[signature], expected) << signature;
  }
  RecordProperty("text_arguments", static_cast<int>(all_places));
  EXPECT_GT(all_places, 300U);
}

TEST(driven_functions, are_exported) {
  const auto exported = security::exported_functions();
  for (const auto& [signature, driven] : driven_places()) {
    EXPECT_THAT(exported, testing::Contains(signature));
  }
}
