#include "tools/orvctl/array_watch.h"

#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <ostream>
#include <string_view>
#include <vector>

#include "tools/orvctl/progress_bar.h"
#include "tools/orvctl/raid_table.h"
#include "tools/orvctl/rebuild_progress.h"
#include "tools/orvctl/signals.h"
#include "tools/orvctl/state_colour.h"

namespace orvctl {
namespace {

using steady = std::chrono::steady_clock;

/// What is said of an array at work, and what its state begins that word with.
struct kind_of_work {
  std::string_view begin;
  const char* name;
};
constexpr std::array<kind_of_work, 5> works = {{{"recover", "recovering"},
                                                {"resync", "resyncing"},
                                                {"reshap", "reshaping"},
                                                {"rebuild", "rebuilding"},
                                                {"initial", "initialising"}}};

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

/// NULL for an array that does not work.
const char* work_of(const tag_md_info& array) {
  const std::string state = lower(array.state);
  for (const kind_of_work& each : works) {
    if (state.find(each.begin) != std::string::npos) return each.name;
  }
  return nullptr;
}

bool is_whole(const tag_md_info& array) {
  const mood how = mood_of(array.state);
  return how == mood::good || how == mood::none;
}

/// How many bytes a rebuild writes: as much as a member holds. 0 when that is not known.
double bytes_of_member(const tag_md_info& array) {
  constexpr double bytes_of_gib = 1 << 30;
  const std::string_view level = array.level;
  const double members = static_cast<double>(array_members(array).size());
  const double spent = level == "raid5"   ? 1
                       : level == "raid6" ? 2
                       : level == "raid1" ? members - 1
                                          : 0;
  return members > spent ? static_cast<double>(array.size) * bytes_of_gib / (members - spent) : 0;
}

/// Knows since when an array is at its work, for a speed that the kernel rounds down to nothing.
class pace {
 public:
  std::optional<std::uint64_t> seconds_left(const tag_md_info& array,
                                            const rebuild_progress& progress) {
    const double rest = (100 - progress.percent) / 100;
    if (progress.bytes_per_second > 0 && array.size > 0) {
      return static_cast<std::uint64_t>(bytes_of_member(array) * rest /
                                        static_cast<double>(progress.bytes_per_second));
    }
    const auto [first, is_new] =
        begun_.try_emplace(array.name, start{steady::now(), progress.percent});
    const double gained = progress.percent - first->second.percent;
    if (is_new || gained <= 0) return std::nullopt;
    const std::chrono::duration<double> spent = steady::now() - first->second.time;
    return static_cast<std::uint64_t>(spent.count() * (100 - progress.percent) / gained);
  }

 private:
  struct start {
    steady::time_point time;
    double percent;
  };
  std::map<std::string, start> begun_;
};

/// The arrays at one moment.
struct moment {
  std::vector<work_progress> works;
  std::vector<std::string> ended;  ///< "md0 clean", of those that do not work
  std::vector<std::string> broken;
};

class watch {
 public:
  watch(session& run, const watch_wish& wish, std::ostream& shown, int terminal)
      : run_(run), wish_(wish), shown_(shown), terminal_(terminal) {}

  /// @return whether anything goes on
  bool look() {
    raid_list arrays;
    check(raid_get(arrays.get()));
    now_ = {};
    bool found = wish_.array.empty();
    for (const tag_md_info& array : arrays) {
      if (!wish_.array.empty() && wish_.array != array.name) continue;
      found = true;
      take(array);
    }
    if (!found) throw library_problem(ORV_E_NO_RAID, wish_.array);
    if (run_.as_json) run_.document["arrays"] = watched(arrays);
    show();
    return !now_.works.empty() || may_still_begin();
  }

  const std::vector<std::string>& broken() const { return now_.broken; }

 private:
  void take(const tag_md_info& array) {
    const char* work = work_of(array);
    if (work == nullptr) {
      now_.ended.push_back(std::string(array.name) + " " + array.state);
      if (!is_whole(array)) now_.broken.emplace_back(array.name);
      return;
    }
    work_progress at{array.name, work, {}, 0, {}};
    if (const auto progress = read_progress(array.progress)) {
      at.percent = progress->percent;
      at.bytes_per_second = progress->bytes_per_second;
      at.seconds_left = pace_.seconds_left(array, *progress);
    }
    now_.works.push_back(at);
  }

  json watched(const raid_list& arrays) const {
    json objects = json::array();
    for (json& object : raid_table(arrays).objects()) {
      if (wish_.array.empty() || object["name"] == wish_.array) objects.push_back(object);
    }
    return objects;
  }

  bool may_still_begin() const {
    return !now_.broken.empty() && steady::now() - begun_ < wish_.patience;
  }

  void show() {
    if (run_.as_json) return;
    clear_bars();
    for (const std::string& line : now_.ended) show_change(line.substr(0, line.find(' ')), line);
    for (const work_progress& work : now_.works) {
      if (terminal_ >= 0) {
        shown_ << progress_bar(work, columns()) << '\n';
        ++bars_;
      } else {
        show_change(work.name, progress_line(work), step_of(work));
      }
    }
    shown_ << std::flush;
  }

  /// The cursor stands below the bars all the time: whatever ends the program leaves them there.
  void clear_bars() {
    if (bars_ > 0) shown_ << "\x1b[" << bars_ << "A\x1b[J";
    bars_ = 0;
  }

  std::size_t columns() const {
    winsize size{};
    return ::ioctl(terminal_, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
  }

  /// A line is shown when its array does something else, or is a whole percent further.
  static std::string step_of(const work_progress& work) {
    return work.state + (work.percent ? std::to_string(static_cast<int>(*work.percent)) : "");
  }
  void show_change(const std::string& array, const std::string& line) {
    show_change(array, line, line);
  }
  void show_change(const std::string& array, const std::string& line, const std::string& step) {
    std::string& last = last_steps_[array];
    if (last != step) shown_ << line << '\n';
    last = step;
  }

  session& run_;
  const watch_wish& wish_;
  std::ostream& shown_;
  int terminal_;
  steady::time_point begun_ = steady::now();
  moment now_;
  pace pace_;
  std::map<std::string, std::string> last_steps_;
  int bars_ = 0;
};

problem not_whole(const std::vector<std::string>& arrays) {
  problem result;
  result.name = "degraded";
  result.meaning = "not every array has all its members";
  for (const std::string& name : arrays)
    result.detail += (result.detail.empty() ? "" : ", ") + name;
  result.advice = "see 'orvctl raid list', and put a disk in with 'orvctl raid add'";
  return result;
}

}  // namespace

void watch_arrays(session& run, const watch_wish& wish, std::ostream& shown, int terminal) {
  const ending_cleanly until_a_signal;
  watch all(run, wish, shown, terminal);
  try {
    while (all.look() && shown && !ending_cleanly::is_asked_for()) {
      // Ends early when a signal comes.
      ::poll(nullptr, 0, static_cast<int>(wish.interval.count()));
      if (ending_cleanly::is_asked_for()) return;
    }
  } catch (const problem&) {
    // Ctrl-C ends the tools too that are asked.
    if (!ending_cleanly::is_asked_for()) throw;
  }
  if (!all.broken().empty()) throw not_whole(all.broken());
}

void add_wait(CLI::App& verb, bool& wait) {
  add_flag(verb, "--wait", wait,
           "end when the array is built (exit status 0 when it is whole then)");
}

void wait_for_array(session& run, const std::string& array) {
  const interruptible from_now_on;
  const watch_wish wish{array, std::chrono::milliseconds(1000), std::chrono::milliseconds(5000)};
  watch_arrays(run, wish, run.io.err, run.io.err_terminal);
}

}  // namespace orvctl
