#include "tools/orvctl/complete_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <sstream>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/live_objects.h"
#include "tools/orvctl/session.h"

namespace orvctl {
namespace {

using names = std::vector<std::string>;

constexpr char any_file[] = ":files";

/// A command line as far as it is typed.
struct typed_line {
  const CLI::App* at;  ///< the command that was reached
  std::map<std::string, std::string>
      values;                            ///< of options, and of positional words by their names
  const CLI::Option* awaited = nullptr;  ///< whose value is being typed
  std::size_t positional = 0;            ///< number of positional words before the last word
  bool options_are_over = false;         ///< after "--"
  const std::vector<query>& queries;     ///< of the whole grammar

  std::string value_of(const std::string& name, const std::string& otherwise = "") const {
    const auto found = values.find(name);
    return found == values.end() ? otherwise : found->second;
  }
};

const CLI::App* subcommand(const CLI::App& at, const std::string& name) {
  for (const CLI::App* each : at.get_subcommands({})) {
    if (each->get_name() == name) return each;
  }
  return nullptr;
}

const CLI::Option* positional_of(const CLI::App& at, std::size_t number) {
  for (const CLI::Option* each : at.get_options()) {
    if (!each->get_positional()) continue;
    if (number == 0) return each;
    --number;
  }
  return nullptr;
}

const CLI::Option* option_of(const CLI::App& at, const std::string& word) {
  for (const CLI::Option* each : at.get_options()) {
    if (!each->get_positional() && each->check_name(word)) return each;
  }
  return nullptr;
}

bool takes_value(const CLI::Option* option) {
  return option != nullptr && option->get_items_expected_max() > 0;
}

void take(typed_line& line, const std::string& word) {
  if (line.awaited != nullptr) {
    line.values[line.awaited->get_name()] = word;
    line.awaited = nullptr;
  } else if (word == "--" && !line.options_are_over) {
    line.options_are_over = true;
  } else if (!line.options_are_over && word.starts_with('-')) {
    const CLI::Option* option = option_of(*line.at, word);
    if (takes_value(option)) line.awaited = option;
  } else if (const CLI::App* next = subcommand(*line.at, word); next != nullptr) {
    line.at = next;
  } else {
    const CLI::Option* meant = positional_of(*line.at, line.positional++);
    if (meant != nullptr) line.values[meant->get_name()] = word;
  }
}

typed_line read(const CLI::App& program, const std::vector<query>& queries, const names& words) {
  typed_line line{.at = &program, .values = {}, .queries = queries};
  for (std::size_t i = 0; i + 1 < words.size(); ++i) take(line, words[i]);
  return line;
}

names subcommands_of(const CLI::App& at) {
  names all;
  for (const CLI::App* each : at.get_subcommands({})) all.push_back(each->get_name());
  return all;
}

names options_of(const CLI::App& at) {
  names all;
  for (const CLI::Option* each : at.get_options()) {
    for (const std::string& name : each->get_lnames()) all.push_back("--" + name);
  }
  return all;
}

std::string noun_of(const typed_line& line) {
  const CLI::App* parent = line.at->get_parent();
  return parent == nullptr ? "" : parent->get_name();
}

names joined(names all, const names& more) {
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

// A command that makes something wants a name that is not there yet.
bool makes_something(const typed_line& line) {
  const std::string verb = line.at->get_name();
  return verb == "create" || (verb == "add" && noun_of(line) != "raid" && noun_of(line) != "spare");
}

names named_things(const typed_line& line) {
  const std::string noun = noun_of(line);
  if (makes_something(line)) return {};
  if (noun == "vg") return names_of_groups();
  if (noun == "share" || noun == "recycle") return names_of_shares();
  if (noun == "user") return names_of_users();
  if (noun == "service") return {"samba", "nfs", "ftp", "iscsi"};
  return {};
}

names pools_of(const typed_line& line) {
  return makes_something(line) ? names{} : names_of_pools(line.value_of("VG"));
}

names disk_words(const typed_line& line) {
  return joined(channels(line.value_of("--enclosure", "0")), names_of_disks());
}

names channel_words(const typed_line& line) { return channels(line.value_of("--enclosure", "0")); }

names volume_words(const typed_line& line) {
  return joined(names_of_arrays(), channel_words(line));
}

names mount_point_words(const typed_line& line) {
  return joined(mount_points(), line.at->get_name() == "umount" ? names{} : names{any_file});
}

names file_words(const typed_line& line) {
  return noun_of(line) == "conf" ? paths_of_kept_files() : names{any_file};
}

names columns_of(const query& list) {
  names columns;
  std::istringstream in;
  std::ostringstream unseen;
  const streams io{in, unseen, unseen, false};
  session asking{.io = io, .columns_wanted = &columns};
  list.ask(asking);
  return columns;
}

names column_words(const typed_line& line) {
  const std::string command = noun_of(line) + " " + line.at->get_name();
  for (const query& each : line.queries) {
    if (each.command == command) return columns_of(each);
  }
  return {};
}

struct word_kind {
  const char* name;  ///< of an option or of a positional word
  names (*words)(const typed_line&);
};

constexpr word_kind kinds[] = {
    {"NAME", named_things},
    {"MD", [](const typed_line&) { return names_of_arrays(); }},
    {"VG", [](const typed_line&) { return names_of_groups(); }},
    {"POOL", pools_of},
    {"PV", volume_words},
    {"--pv", volume_words},
    {"CHANNEL", channel_words},
    {"CHANNELS", channel_words},
    {"DISK", disk_words},
    {"DISKS", disk_words},
    {"--disks", channel_words},
    {"--spares", [](const typed_line&) { return names_of_disks(); }},
    {"--enclosure",
     [](const typed_line&) {
       return names{"0", "1", "2", "3", "4"};
     }},
    {"--level",
     [](const typed_line&) {
       return names{"raid0", "raid1", "raid5", "raid6", "linear"};
     }},
    {"--service",
     [](const typed_line&) {
       return names{"samba", "nfs", "ftp", "iscsi"};
     }},
    {"--columns", column_words},
    {"--users", [](const typed_line&) { return names_of_users(); }},
    {"MOUNTPOINT", mount_point_words},
    {"PATH", mount_point_words},
    {"--path", mount_point_words},
    {"FILE", file_words},
};

// A list of the machine that cannot be read completes nothing.
names words_of(const CLI::Option* meant, const typed_line& line) {
  if (meant == nullptr) return {};
  for (const word_kind& kind : kinds) {
    if (!meant->check_name(kind.name)) continue;
    try {
      return kind.words(line);
    } catch (const std::exception&) {
      return {};
    }
  }
  return {};
}

names candidates(const typed_line& line, const std::string& word) {
  if (line.awaited != nullptr) return words_of(line.awaited, line);
  if (!line.options_are_over && word.starts_with('-')) return options_of(*line.at);
  const names commands = subcommands_of(*line.at);
  return commands.empty() ? words_of(positional_of(*line.at, line.positional), line) : commands;
}

// What comes before the last comma of a list is typed already; what is in it does not come again.
names continued(const names& all, const std::string& word) {
  const std::size_t comma = word.rfind(',');
  const std::string typed = comma == std::string::npos ? "" : word.substr(0, comma + 1);
  names found;
  for (const std::string& each : all) {
    const bool fits = each == any_file || (typed + each).starts_with(word);
    const bool is_typed = ("," + typed).find("," + each + ",") != std::string::npos;
    if (fits && !is_typed && !each.empty()) found.push_back(each == any_file ? each : typed + each);
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

}  // namespace

names completions(const CLI::App& program, const std::vector<query>& queries, const names& words) {
  const typed_line line = read(program, queries, words);
  const std::string word = words.empty() ? "" : words.back();
  return continued(candidates(line, word), word);
}

}  // namespace orvctl
