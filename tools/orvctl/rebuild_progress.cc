#include "tools/orvctl/rebuild_progress.h"

#include <charconv>
#include <string_view>

namespace orvctl {
namespace {

// A number at the beginning of a text, which is cut off the text with what has to follow it.
std::optional<double> take_number(std::string_view& text, std::string_view follows) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc() || number < 0 || number > 1e9) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  if (!text.starts_with(follows)) return std::nullopt;
  text.remove_prefix(follows.size());
  return number;
}

}  // namespace

std::optional<rebuild_progress> read_progress(const std::string& text) {
  constexpr double bytes_of_megabyte = 1 << 20;
  std::string_view rest = text;
  const auto percent = take_number(rest, "%");
  if (!percent || *percent > 100) return std::nullopt;
  double speed = 0;
  if (rest.starts_with('(')) {
    rest.remove_prefix(1);
    speed = take_number(rest, "MB/s)").value_or(0);
  }
  return rebuild_progress{*percent, static_cast<std::uint64_t>(speed * bytes_of_megabyte)};
}

}  // namespace orvctl
