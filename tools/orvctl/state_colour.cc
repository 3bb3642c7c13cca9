#include "tools/orvctl/state_colour.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>

namespace orvctl {
namespace {

struct word {
  std::string_view text;
  mood says;
};

// The first that a state contains decides, and so the worst come first. "passed" is smartctl's,
// "offline" and "running" are the kernel's, "normal" is the RAID controller's.
constexpr word words[] = {
    {"fail", mood::bad},           {"fault", mood::bad},         {"inactive", mood::bad},
    {"broken", mood::bad},         {"offline", mood::bad},       {"critical", mood::bad},
    {"missing", mood::bad},        {"not available", mood::bad}, {"dead", mood::bad},
    {"degraded", mood::attention}, {"recover", mood::attention}, {"resync", mood::attention},
    {"reshap", mood::attention},   {"rebuild", mood::attention}, {"umount", mood::attention},
    {"warning", mood::attention},  {"blocked", mood::attention}, {"differs", mood::attention},
    {"available", mood::good},     {"clean", mood::good},        {"active", mood::good},
    {"running", mood::good},       {"normal", mood::good},       {"passed", mood::good},
    {"good", mood::good},          {"ok", mood::good},           {"yes", mood::good},
    {"same", mood::good},
};

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

constexpr const char* sequences[] = {nullptr, "\x1b[32m", "\x1b[33m", "\x1b[31m"};

}  // namespace

mood mood_of(const json& state) {
  if (state.is_boolean()) return state.get<bool>() ? mood::good : mood::none;
  if (!state.is_string()) return mood::none;
  const std::string text = lower(state.get<std::string>());
  for (const word& each : words) {
    if (text.find(each.text) != std::string::npos) return each.says;
  }
  return mood::none;
}

const char* colour_of(const json& state) { return sequences[static_cast<int>(mood_of(state))]; }

std::string coloured(const std::string& text, mood how) {
  if (how == mood::none) return text;
  return sequences[static_cast<int>(how)] + text + "\x1b[0m";
}

bool wants_colours() {
  const char* refused = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  const bool is_dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
  return (refused == nullptr || *refused == '\0') && !is_dumb;
}

}  // namespace orvctl
