#include "tools/orvctl/metric_families.h"

namespace orvctl {
namespace {

// Bytes that are no text would spoil the whole output.
std::string clean(const std::string& text) {
  return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace));
}

std::string escaped(const std::string& text) {
  std::string shown;
  for (const char letter : text) {
    if (letter == '\\' || letter == '"') shown += '\\';
    shown += letter == '\n' ? "\\n" : std::string(1, letter);
  }
  return shown;
}

std::string text_of(const metric_labels& labels) {
  std::string text;
  for (const auto& [name, value] : labels) {
    text += (text.empty() ? "" : ",") + name + "=\"" + escaped(value) + "\"";
  }
  return text.empty() ? text : "{" + text + "}";
}

std::string number_of(const json& value) {
  if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
  return value.dump();
}

}  // namespace

void metric_families::begin(const std::string& name, const std::string& help,
                            const std::string& unit) {
  families_.push_back({name + (unit.empty() ? "" : "_" + unit), help, unit, {}, {}});
}

void metric_families::add(const metric_labels& labels, const json& value) {
  if (value.is_null()) return;
  metric_labels cleaned;
  for (const auto& [name, text] : labels) cleaned.emplace_back(name, clean(text));
  family& last = families_.back();
  if (last.seen.insert(cleaned).second) last.samples.push_back({cleaned, value});
}

std::string metric_families::text() const {
  std::string text;
  for (const family& each : families_) {
    if (each.samples.empty()) continue;
    text += "# TYPE " + each.name + " gauge\n";
    if (!each.unit.empty()) text += "# UNIT " + each.name + " " + each.unit + "\n";
    text += "# HELP " + each.name + " " + each.help + "\n";
    for (const sample& one : each.samples) {
      text += each.name + text_of(one.labels) + " " + number_of(one.value) + "\n";
    }
  }
  return text + "# EOF\n";
}

json metric_families::objects() const {
  json all = json::array();
  for (const family& each : families_) {
    json samples = json::array();
    for (const sample& one : each.samples) {
      json labels = json::object();
      for (const auto& [name, value] : one.labels) labels[name] = value;
      const json value = one.value.is_boolean() ? json(one.value.get<bool>() ? 1 : 0) : one.value;
      samples.push_back({{"labels", labels}, {"value", value}});
    }
    all.push_back({{"name", each.name},
                   {"type", "gauge"},
                   {"unit", each.unit.empty() ? json() : json(each.unit)},
                   {"help", each.help},
                   {"samples", samples}});
  }
  return all;
}

}  // namespace orvctl
