#include "toolbox.h"

#include <sys/stat.h>

#include <algorithm>

#include "errors.h"
#include "files.h"
#include "text.h"

namespace sandbox {
namespace {

call_record to_call(const record& texts) {
  call_record call{.path = texts.at(call_path),
                   .words = {},
                   .input = texts.at(call_input),
                   .descriptors = {},
                   .by_shell = !texts.at(call_starter).empty(),
                   .environment = {}};
  for (const auto& number : split(texts.at(call_descriptors), ' '))
    call.descriptors.push_back(std::stoi(number));
  const auto environment = texts.begin() + call_environment_size + 1;
  const auto words = environment + std::stoi(texts.at(call_environment_size));
  for (auto entry = environment; entry != words; ++entry) {
    const auto equals = entry->find('=');
    call.environment[entry->substr(0, equals)] = entry->substr(equals + 1);
  }
  call.words.assign(words, texts.end());
  return call;
}

// The program that a line of the shell's trace names by its path, "" for all else. The trace marks
// commands with "+ ", one more + for each level of nesting, and quotes words that need it.
std::string program_of(std::string line) {
  const auto marks = line.find_first_not_of('+');
  if (marks == 0 || marks == std::string::npos || line[marks] != ' ') return "";
  line.erase(0, marks + 1);
  for (const char* prefix : {"exec ", "command "})
    if (line.starts_with(prefix)) line.erase(0, std::string_view(prefix).size());
  const std::string word =
      line.starts_with('\'') ? split(line, '\'').front() : line.substr(0, line.find(' '));
  const bool is_path = word.starts_with('/') || word.starts_with("./") || word.starts_with("../");
  return is_path ? word : "";
}

bool is_program(const std::string& path) {
  struct stat found {};
  return ::fstatat(AT_FDCWD, path.c_str(), &found, 0) == 0 && S_ISREG(found.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

std::vector<record> records_in(const char* path) { return unpacked(whole_file(path)); }

std::string described(const canned_answer& canned) {
  auto words = canned.patterns;
  words.insert(words.begin(), canned.tool);
  if (canned.any_rest) words.push_back("...");
  return joined(words);
}

}  // namespace

fake_tool& toolbox::at(std::string_view name) {
  const auto path =
      name.find('/') == std::string_view::npos ? "/bin/" + std::string(name) : std::string(name);
  const auto known = tools_.find(path);
  if (known != tools_.end()) return known->second;
  look_for_misses();
  make_parents(path);
  ::unlink(path.c_str());
  must(::symlink("/.sandbox/bin/tool", path.c_str()), path);
  return tools_.try_emplace(path, *this, path).first->second;
}

answer& toolbox::add(canned_answer canned) {
  const size_t number = entries_.size();
  entries_.push_back({.canned = std::move(canned), .handle = answer(*this, number)});
  save(number);
  return entries_.back().handle;
}

void toolbox::save(size_t number) const {
  const auto& canned = entries_[number].canned;
  const auto path = answers_of(canned.tool) + '/' + std::to_string(number);
  write_file(path, packed(to_record(canned)), 0600);
}

void toolbox::expect_missing(const std::string& path) {
  look_for_misses();
  ::unlink(path.c_str());
  expected_misses_.insert(path);
}

void toolbox::look_for_misses() {
  const auto trace = whole_file(trace_file);
  for (const auto& line : split(trace.substr(traced_), '\n')) {
    const auto program = program_of(line);
    if (!program.empty() && !is_program(program))
      misses_.push_back(line.substr(line.find(' ') + 1));
  }
  traced_ = trace.size();
}

lines toolbox::commands() const {
  lines texts;
  for (const auto& command : records_in(commands_file)) texts.push_back(command.at(0));
  texts.erase(texts.begin(), texts.begin() + static_cast<ptrdiff_t>(forgotten_commands_));
  return texts;
}

std::vector<call_record> toolbox::calls() const {
  std::vector<call_record> calls;
  for (const auto& call : records_in(calls_file)) calls.push_back(to_call(call));
  calls.erase(calls.begin(), calls.begin() + static_cast<ptrdiff_t>(forgotten_calls_));
  return calls;
}

void toolbox::forget() {
  forgotten_commands_ = records_in(commands_file).size();
  forgotten_calls_ = records_in(calls_file).size();
}

lines toolbox::complaints() {
  look_for_misses();
  lines all;
  std::vector<int> uses(entries_.size());
  for (const auto& call : records_in(calls_file)) {
    const int number = std::stoi(call.at(call_answer));
    if (number < 0) {
      all.push_back("the test gives no answer to: " + joined(to_call(call).words));
    } else {
      ++uses.at(static_cast<size_t>(number));
    }
  }
  complain_of_misses(all);
  for (size_t i = 0; i < entries_.size(); ++i) complain_of_uses(entries_[i], uses[i], all);
  return all;
}

void toolbox::complain_of_misses(lines& all) const {
  auto unmet = expected_misses_;
  auto misses = misses_;
  for (const auto& command : split(whole_file(misses_file), '\n')) misses.push_back(command);
  for (const auto& command : misses) {
    const auto name = command.substr(0, command.find(' '));
    const auto path = name.find('/') == std::string::npos ? "/bin/" + name : name;
    if (expected_misses_.contains(path)) {
      unmet.erase(path);
    } else {
      all.push_back("the test provides no tool for: " + command);
    }
  }
  for (const auto& path : unmet) all.push_back("nobody found out that there is no " + path);
}

void toolbox::complain_of_uses(const entry& entry, int uses, lines& all) {
  const int times = entry.canned.times;
  if (uses >= std::max(times, 1) || entry.optional) return;
  const auto how = uses == 0 ? std::string("nobody asked for: ")
                             : "asked for " + std::to_string(uses) + " times instead of " +
                                   std::to_string(times) + ": ";
  all.push_back(how + described(entry.canned));
}

}  // namespace sandbox
