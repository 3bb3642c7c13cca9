#include "machine.h"

#include <algorithm>
#include <iterator>

#include "support/companion_path.h"

namespace fuzz {

namespace {

/// What stands for an unquoted ">" among words, of which no other holds a NUL.
const std::string redirection("\0", 1);

/// Room that a file gets at first: fewer allocations while it is written.
constexpr std::size_t usual_size = 2048;
constexpr std::size_t usual_path = 64;

/// The words of a command line; between single quotes every character stands for itself.
std::vector<std::string> shell_words(std::string_view line) {
  std::vector<std::string> words;
  words.reserve(16);
  bool in_word = false;
  bool is_quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == ' ' && !is_quoted) {
      in_word = false;
      continue;
    }
    if (!in_word) words.emplace_back();
    in_word = true;
    if (line[i] == '\'') {
      is_quoted = !is_quoted;
    } else if (line[i] == '>' && !is_quoted) {
      words.back() = redirection;
    } else {
      if (line[i] == '\\' && !is_quoted && i + 1 < line.size()) ++i;
      words.back() += line[i];
    }
  }
  return words;
}

}  // namespace

machine the_machine;

void machine::reset() {
  std::move(entries_.begin(), entries_.end(), std::back_inserter(gone_));
  entries_.clear();
  next_number_ = 1;
  for (std::string* const text : {&tool_output, &release, &from_peer, &interfaces}) text->clear();
  tool_status = 0;
  now = {};
  commands = 0;
  piece = 1;
  block_size = 4096;
  blocks = available = 0;
}

machine::entry machine::room_for_file() {
  const auto free = std::find_if(gone_.rbegin(), gone_.rend(),
                                 [](const entry& known) { return known.content.use_count() == 1; });
  entry room;
  if (free == gone_.rend()) {
    room.content = std::make_shared<file>();
    room.content->text.reserve(usual_size);
    room.path.reserve(usual_path);
  } else {
    std::swap(*free, gone_.back());
    room = std::move(gone_.back());
    gone_.pop_back();
  }
  return room;
}

void machine::date(file& changed) {
  if (now.tv_sec == 0) return;
  ++now.tv_nsec;
  changed.changed = now;
}

void machine::put(std::string_view path, std::string_view text) { make(path)->text = text; }

void machine::remove(std::string_view path) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [path](const entry& known) { return known.path == path; });
  if (found == entries_.end()) return;
  gone_.push_back(std::move(*found));
  entries_.erase(found);
}

bool machine::has_room_for(std::string_view path) const {
  return now.tv_sec != 0 || !path.starts_with(orv::support::companions_directory);
}

const std::string* machine::text(std::string_view path) const {
  const auto found = find(path);
  return found ? &found->text : nullptr;
}

std::shared_ptr<file> machine::find(std::string_view path) const {
  for (const entry& known : entries_) {
    if (known.path == path) return known.content;
  }
  return nullptr;
}

std::shared_ptr<file> machine::make(std::string_view path) {
  if (auto found = find(path)) return found;
  entry made = room_for_file();
  made.path = path;
  made.content->text.clear();
  made.content->mode = 0644;
  made.content->number = next_number_++;
  made.content->is_link = false;
  made.content->changed = {};
  date(*made.content);
  entries_.push_back(std::move(made));
  return entries_.back().content;
}

bool machine::move(std::string_view from, std::string_view to) {
  const auto content = find(from);
  if (!content) return false;
  remove(to);
  for (entry& known : entries_) {
    if (known.path == from) known.path = to;
  }
  return true;
}

bool machine::is_directory(std::string_view path) const {
  if (path == "/" || path == "/etc" || path == "/tmp") return true;
  if (path.ends_with('/')) path.remove_suffix(1);
  return std::any_of(entries_.begin(), entries_.end(), [path](const entry& known) {
    return known.path.size() > path.size() && known.path[path.size()] == '/' &&
           known.path.starts_with(path);
  });
}

std::vector<std::string> machine::names_in(std::string_view directory) const {
  std::string start(directory);
  if (!start.ends_with('/')) start += '/';
  std::vector<std::string> names;
  for (const entry& known : entries_) {
    if (!known.path.starts_with(start)) continue;
    const std::string rest = known.path.substr(start.size());
    std::string name = rest.substr(0, rest.find('/'));
    if (std::find(names.begin(), names.end(), name) == names.end())
      names.push_back(std::move(name));
  }
  return names;
}

std::size_t machine::temporary_files() const {
  const auto files = std::count_if(entries_.begin(), entries_.end(), [](const entry& known) {
    return known.path.starts_with("/tmp/");
  });
  return static_cast<std::size_t>(files);
}

int machine::run(std::string_view command) {
  constexpr int failed = 1 << 8;
  ++commands;
  std::vector<std::string> words = shell_words(command);
  std::string target = "/dev/null";
  if (words.size() > 2 && words[words.size() - 2] == redirection) {
    target = words.back();
    words.resize(words.size() - 2);
  }
  if (words.size() == 2 && words[0] == "cat") {
    const auto source = find(words[1]);
    if (source) put(target, source->text);
    return source ? 0 : failed;
  }
  if (words.size() == 3 && words[0] == "mv") return move(words[1], words[2]) ? 0 : failed;
  if (target != "/dev/null") put(target, tool_output);
  return tool_status;
}

}  // namespace fuzz
