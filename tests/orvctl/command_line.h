#ifndef ORV_TESTS_ORVCTL_COMMAND_LINE_H
#define ORV_TESTS_ORVCTL_COMMAND_LINE_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "tools/orvctl/run.h"
#include "tools/orvctl/table.h"

/// What one command line of orvctl came to.
struct outcome {
  int status;
  std::string out;
  std::string err;
};

/// The file in which check_documents.py wants every command line and its output, a JSON object a
/// line. It is opened before there is a fake machine, which would hide it. Whoever wants the record
/// wants documents: every command line gets --json, and what the tests expect does not matter then.
inline int open_record() {
  const char* path = std::getenv("ORVCTL_RECORD");
  return path == nullptr ? -1 : ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
}
inline const int record_file = open_record();

inline void record(const std::vector<std::string>& words, const outcome& got) {
  if (record_file < 0) return;
  using orvctl::json;
  const json line = {{"words", words}, {"status", got.status}, {"out", got.out}};
  const std::string text = line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
  if (::write(record_file, text.data(), text.size()) < 0) std::abort();
}

inline bool gives_document(const std::vector<std::string>& words) {
  if (words.empty() || words[0] == "complete" || words[0] == "metrics") return false;
  for (const std::string& word : words) {
    if (word == "--json" || word == "--help" || word == "-h" || word == "--version") return false;
  }
  return true;
}

/// Runs a command line of orvctl in this process.
/// @param typed        what is on its standard input
/// @param interactive  whether that is typed at a terminal
inline outcome run(std::vector<std::string> words, const std::string& typed, bool interactive) {
  if (record_file >= 0 && gives_document(words)) words.insert(words.begin(), "--json");
  std::vector<const char*> arguments = {"orvctl"};
  for (const std::string& word : words) arguments.push_back(word.c_str());
  std::istringstream in(typed);
  std::ostringstream out;
  std::ostringstream err;
  const int status = orvctl::run(static_cast<int>(arguments.size()), arguments.data(),
                                 {in, out, err, interactive});
  const outcome got = {status, out.str(), err.str()};
  record(words, got);
  return got;
}

inline std::vector<std::string> split(const std::string& words) {
  std::istringstream rest(words);
  std::vector<std::string> all;
  for (std::string word; rest >> word;) all.push_back(word);
  return all;
}

#endif
