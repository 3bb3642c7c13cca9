// One canned answer of a fake tool, as the test writes it and the tool program reads it.
#pragma once

#include <fnmatch.h>

#include <string>
#include <vector>

#include "records.h"

namespace sandbox {

// The closer an answer's words describe a call, the earlier the answer is considered.
enum closeness { exact_words, wild_words, any_words };

struct canned_answer {
  std::string tool{};                   // path of the tool
  int close = any_words;                // a closeness
  std::vector<std::string> patterns{};  // fnmatch patterns of the arguments
  bool any_rest = true;                 // further arguments may follow the patterns
  int times = 0;                        // how often it may be given; 0: no limit
  int delay = 0;                        // milliseconds before anything else happens
  std::string output{};
  std::string errors{};
  std::string script{};  // bash text, run after the output
  int exit_code = -1;    // -1: the script's own, 0 without a script
  int signal = 0;        // not 0: the tool ends by this signal
  bool real = false;     // the busybox applet of the tool's name answers
};

inline record to_record(const canned_answer& answer) {
  record texts = {answer.tool,
                  std::to_string(answer.close),
                  std::to_string(answer.any_rest),
                  std::to_string(answer.times),
                  std::to_string(answer.delay),
                  answer.output,
                  answer.errors,
                  answer.script,
                  std::to_string(answer.exit_code),
                  std::to_string(answer.signal),
                  std::to_string(answer.real)};
  texts.insert(texts.end(), answer.patterns.begin(), answer.patterns.end());
  return texts;
}

inline canned_answer to_answer(const record& texts) {
  const auto number = [&](size_t field) { return std::stoi(texts.at(field)); };
  return {.tool = texts.at(0),
          .close = number(1),
          .patterns = {texts.begin() + 11, texts.end()},
          .any_rest = number(2) != 0,
          .times = number(3),
          .delay = number(4),
          .output = texts.at(5),
          .errors = texts.at(6),
          .script = texts.at(7),
          .exit_code = number(8),
          .signal = number(9),
          .real = number(10) != 0};
}

// The applet of the tool's name.
inline std::string real_tool_for(const std::string& tool) {
  return std::string(programs_directory) + "/applets" + tool.substr(tool.rfind('/'));
}

inline bool fits(const canned_answer& answer, const std::vector<std::string>& arguments) {
  const size_t wanted = answer.patterns.size();
  if (arguments.size() < wanted || (arguments.size() > wanted && !answer.any_rest)) return false;
  for (size_t i = 0; i < wanted; ++i)
    if (::fnmatch(answer.patterns[i].c_str(), arguments[i].c_str(), 0) != 0) return false;
  return true;
}

// A call's record: number of its answer (-1: none), path, standard input, open descriptors, "shell"
// when a shell started it, number of environment entries, those entries, and the argument vector.
enum call_field {
  call_answer,
  call_path,
  call_input,
  call_descriptors,
  call_starter,
  call_environment_size
};

}  // namespace sandbox
