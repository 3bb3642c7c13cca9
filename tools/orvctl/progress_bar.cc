#include "tools/orvctl/progress_bar.h"

#include <algorithm>
#include <cstdio>

namespace orvctl {
namespace {

template <class... values>
std::string formatted(const char* form, values... shown) {
  char text[64];
  std::snprintf(text, sizeof text, form, shown...);
  return text;
}

std::string percent_text(const work_progress& work) {
  return work.percent ? formatted("%.1f%%", *work.percent) : "waits";
}

std::string rest_text(const work_progress& work) {
  std::string text;
  if (work.bytes_per_second > 0) {
    text += formatted(", %.1f MiB/s", static_cast<double>(work.bytes_per_second) / (1 << 20));
  }
  if (work.seconds_left) text += ", " + duration_text(*work.seconds_left) + " left";
  return text;
}

std::string bar_of(double percent, std::size_t width) {
  const auto done = static_cast<std::size_t>(percent / 100 * static_cast<double>(width));
  std::string bar(std::min(done, width), '=');
  if (bar.size() < width) bar += '>';
  return bar + std::string(width - bar.size(), ' ');
}

}  // namespace

std::string duration_text(std::uint64_t seconds) {
  constexpr std::uint64_t minute = 60;
  constexpr std::uint64_t hour = 60 * minute;
  if (seconds < minute) return std::to_string(seconds) + " s";
  if (seconds < hour) return std::to_string((seconds + minute / 2) / minute) + " min";
  return std::to_string(seconds / hour) + " h " + std::to_string(seconds % hour / minute) + " min";
}

std::string progress_line(const work_progress& work) {
  return work.name + " " + work.state + " " + percent_text(work) + rest_text(work);
}

std::string progress_bar(const work_progress& work, std::size_t columns) {
  constexpr std::size_t widest = 40;
  constexpr std::size_t narrowest = 8;
  const std::string head = work.name + " " + work.state + " ";
  const std::string tail = " " + percent_text(work) + rest_text(work);
  const std::size_t used = head.size() + tail.size() + 2;
  if (used + narrowest > columns) return progress_line(work).substr(0, columns);
  const std::size_t width = std::min(columns - used, widest);
  return head + "[" + bar_of(work.percent.value_or(0), width) + "]" + tail;
}

}  // namespace orvctl
