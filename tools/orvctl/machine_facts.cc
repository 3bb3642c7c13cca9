#include "tools/orvctl/machine_facts.h"

#include <charconv>
#include <sstream>

#include <orv.h>

namespace orvctl {
namespace {

// "fan1:3200,fan2:3100", of the fans that report a speed.
json fans_in(const std::string& text) {
  json fans = json::array();
  std::istringstream rest(text);
  for (std::string fan; std::getline(rest, fan, ',');) {
    const std::size_t colon = fan.find(':');
    if (colon == std::string::npos) continue;
    fans.push_back(
        {{"name", fan.substr(0, colon)}, {"speed_rpm", number_in(fan.substr(colon + 1))}});
  }
  return fans;
}

struct source {
  const char* title;
  const char* key;
  int (*get)(char* buffer, int size);
  json (*value)(const std::string& text);
};

constexpr source sources[] = {
    {"Model", "model", devmodel_get, text_value},
    {"Host name", "host_name", hostname_get, text_value},
    {"Software version", "software_version", softversion_get, text_value},
    {"Hardware version", "hardware_version", hardversion_get, text_value},
    {"Time", "time", systime_get, text_value},
    {"Start time", "start_time", starttime_get, text_value},
    {"Temperature", "temperature_celsius", tmp_get, number_in},
    {"Fans", "fans", fan_speed_get, fans_in},
    {"Power supply", "power_supply", pwstate_get, text_value},
};

machine_fact read(const source& from) {
  char text[256] = "";
  const int result = from.get(text, static_cast<int>(sizeof text));
  const bool is_read = result == ORV_OK;
  return {from.title, from.key, is_read ? text : "", is_read ? from.value(text) : json(), result};
}

}  // namespace

std::vector<machine_fact> machine_facts() {
  std::vector<machine_fact> facts;
  for (const source& each : sources) facts.push_back(read(each));
  return facts;
}

const machine_fact& fact_of(const std::vector<machine_fact>& facts, const std::string& key) {
  auto found = facts.begin();
  while (found->key != key) ++found;
  return *found;
}

json facts_object(const std::vector<machine_fact>& facts) {
  json values = json::object();
  for (const machine_fact& each : facts) values[each.key] = each.value;
  return values;
}

json number_in(const std::string& text) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc() || number > 1e15 || number < -1e15) return {};
  const auto whole = static_cast<long long>(number);
  return static_cast<double>(whole) == number ? json(whole) : json(number);
}

}  // namespace orvctl
