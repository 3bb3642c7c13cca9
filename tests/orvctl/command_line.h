#ifndef ORV_TESTS_ORVCTL_COMMAND_LINE_H
#define ORV_TESTS_ORVCTL_COMMAND_LINE_H

#include <sstream>
#include <string>
#include <vector>

#include "tools/orvctl/run.h"

/// What one command line of orvctl came to.
struct outcome {
  int status;
  std::string out;
  std::string err;
};

/// Runs a command line of orvctl in this process.
/// @param typed        what is on its standard input
/// @param interactive  whether that is typed at a terminal
inline outcome run(const std::vector<std::string>& words, const std::string& typed,
                   bool interactive) {
  std::vector<const char*> arguments = {"orvctl"};
  for (const std::string& word : words) arguments.push_back(word.c_str());
  std::istringstream in(typed);
  std::ostringstream out;
  std::ostringstream err;
  const int status = orvctl::run(static_cast<int>(arguments.size()), arguments.data(),
                                 {in, out, err, interactive});
  return {status, out.str(), err.str()};
}

inline std::vector<std::string> split(const std::string& words) {
  std::istringstream rest(words);
  std::vector<std::string> all;
  for (std::string word; rest >> word;) all.push_back(word);
  return all;
}

#endif
