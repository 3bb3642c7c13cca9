#include "tools/orvctl/text_diff.h"

#include <algorithm>
#include <cstdint>

namespace orvctl {
namespace {

using lines = std::vector<std::string>;

constexpr std::size_t context = 3;

lines lines_of(const std::string& text) {
  lines all;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    all.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return all;
}

/// One line of the way from one text to the other.
struct edit {
  char sign;  // ' ' stays, '-' goes, '+' comes
  std::string line;
};

/// How many lines two ends of the texts have in common: the rest of `before` from line `i` and that
/// of `after` from line `j`.
class common_lengths {
 public:
  common_lengths(const lines& before, const lines& after)
      : width_(after.size() + 1), lengths_((before.size() + 1) * width_) {
    for (std::size_t i = before.size(); i-- > 0;) {
      for (std::size_t j = after.size(); j-- > 0;) {
        lengths_[i * width_ + j] =
            before[i] == after[j] ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
      }
    }
  }
  std::uint32_t at(std::size_t i, std::size_t j) const { return lengths_[i * width_ + j]; }

 private:
  std::size_t width_;
  std::vector<std::uint32_t> lengths_;
};

/// The shortest way between the parts that differ; between long ones all goes and all comes.
void add_edits(const lines& before, const lines& after, std::vector<edit>& way) {
  constexpr std::size_t largest = 4'000'000;
  std::size_t i = 0;
  std::size_t j = 0;
  if (before.size() * after.size() <= largest) {
    const common_lengths common(before, after);
    while (i < before.size() && j < after.size()) {
      if (before[i] == after[j]) {
        way.push_back({' ', before[i]});
        ++i, ++j;
      } else if (common.at(i + 1, j) >= common.at(i, j + 1)) {
        way.push_back({'-', before[i++]});
      } else {
        way.push_back({'+', after[j++]});
      }
    }
  }
  while (i < before.size()) way.push_back({'-', before[i++]});
  while (j < after.size()) way.push_back({'+', after[j++]});
}

std::vector<edit> way_between(const lines& before, const lines& after) {
  const auto [left, right] =
      std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  const auto shorter = std::min(before.end() - left, after.end() - right);
  auto tail = std::ptrdiff_t{0};
  while (tail < shorter && *(before.end() - 1 - tail) == *(after.end() - 1 - tail)) ++tail;
  std::vector<edit> way;
  for (auto line = before.begin(); line != left; ++line) way.push_back({' ', *line});
  add_edits({left, before.end() - tail}, {right, after.end() - tail}, way);
  for (auto line = before.end() - tail; line != before.end(); ++line) way.push_back({' ', *line});
  return way;
}

std::string range(std::size_t first, std::size_t count) {
  const std::size_t shown = count == 0 ? first : first + 1;
  return std::to_string(shown) + (count == 1 ? "" : "," + std::to_string(count));
}

/// A stretch of the way, and where it begins in the two texts.
struct hunk {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// Changes with no more than twice the context between them are one hunk.
std::vector<hunk> hunks_of(const std::vector<edit>& way) {
  std::vector<hunk> found;
  for (std::size_t at = 0; at < way.size(); ++at) {
    if (way[at].sign == ' ') continue;
    const std::size_t begin = at < context ? 0 : at - context;
    const std::size_t end = std::min(at + 1 + context, way.size());
    if (!found.empty() && begin <= found.back().end) {
      found.back().end = end;
    } else {
      found.push_back({begin, end});
    }
  }
  return found;
}

std::size_t count_without(const std::vector<edit>& way, std::size_t begin, std::size_t end,
                          char sign) {
  std::size_t count = 0;
  for (std::size_t at = begin; at < end; ++at) count += way[at].sign == sign ? 0U : 1U;
  return count;
}

std::string head_of(const std::vector<edit>& way, const hunk& part) {
  const auto side = [&](char other) {
    return range(count_without(way, 0, part.begin, other),
                 count_without(way, part.begin, part.end, other));
  };
  return "@@ -" + side('+') + " +" + side('-') + " @@";
}

}  // namespace

std::vector<std::string> unified_diff(const std::string& before, const std::string& after) {
  const std::vector<edit> way = way_between(lines_of(before), lines_of(after));
  lines shown;
  for (const hunk& part : hunks_of(way)) {
    shown.push_back(head_of(way, part));
    for (std::size_t at = part.begin; at < part.end; ++at) {
      shown.push_back(way[at].sign + way[at].line);
    }
  }
  return shown;
}

}  // namespace orvctl
