#include <charconv>
#include <string_view>

#include "tools/orvctl/array_watch.h"
#include "tools/orvctl/commands.h"

namespace orvctl {
namespace {

struct watch_arguments {
  std::string array;
  double interval = 1;
};

bool is_interval(std::string_view word) {
  double seconds = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), seconds);
  return error == std::errc() && end == word.data() + word.size() && seconds >= 0.1 &&
         seconds <= 3600;
}

void watch(session& run, const watch_arguments& given) {
  const std::chrono::duration<double> interval(given.interval);
  const watch_wish wish{given.array,
                        std::chrono::duration_cast<std::chrono::milliseconds>(interval),
                        std::chrono::milliseconds(0)};
  watch_arrays(run, wish, run.io.out, run.io.out_terminal);
}

}  // namespace

void add_raid_watch_command(CLI::App& raid, session& run) {
  const auto given = std::make_shared<watch_arguments>();
  CLI::App& verb = add_verb(raid, run, "watch",
                            "Show how arrays are rebuilt until none is (exit status 0 when all "
                            "are whole then)",
                            "orvctl raid watch md0");
  add_option(verb, "MD", given->array, "array, such as md0; all of them without it").type_name("");
  add_option(verb, "--interval", given->interval, "seconds between two looks, from 0.1 to 3600")
      .type_name("SECONDS")
      .check({is_interval, "a number of seconds from 0.1 to 3600"});
  on_run(verb, run, given, watch);
}

}  // namespace orvctl
